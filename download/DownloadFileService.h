#pragma once

#include "download/DownloadQueue.h"
#include "platform/URLSession.h"

#include <QHash>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class QueueWindow;

/// What is known of one server address over all attempts.
struct Download
{
    std::optional<QUrl> url;
    std::shared_ptr<URLSessionDownloadTask> task;
    bool isDownloading = false;
    std::optional<QByteArray> resumeData;
    int tries = 0;         ///< starts asked for, counted before the start
    double downloaded = 0; ///< bytes over all attempts
};

/// Moves files from the servers onto the pen, one at a time, with one retry each, and tells the
/// queue's window to go on. Main thread only; the session's thread places the finished file and
/// hands everything else over.
class DownloadFileService : public QObject, private URLSessionDownloadDelegate
{
    Q_OBJECT

public:
    /// Called once, on the main thread: true when the file stands on the pen, false at the first
    /// failure, also when a retry follows.
    using Completion = std::function<void(bool success)>;
    /// Called on the main thread when the file stands on the pen, by whichever attempt.
    using PlacedHandler = std::function<void()>;

    explicit DownloadFileService(QObject *parent = nullptr);
    ~DownloadFileService() override;

    /// Set before the first download; must outlive this service's transfers.
    void setDownloadWindowController(QueueWindow *window);

    /// Loads the address into the folder on the pen under that name. Both callbacks may be empty;
    /// an address that is none gives false at once.
    void download(const QString &urlString, const QUrl &folder, const QString &fileName,
                  UpdateFileType updateFileType, Completion completion,
                  PlacedHandler placedHandler = {});

    /// The "Content-Length" of a HEAD request; absent for an address that is none (told at once,
    /// on the caller's thread), no answer, or an answer without a usable one.
    void getContentLength(const QString &urlString,
                          std::function<void(std::optional<qint64> length)> completion);

    /// Tells every caller false and cancels every transfer and placement under way.
    void cancelAllDownloads();

    /// Gives up the row being worked on, which never got as far as a transfer: it becomes Failed,
    /// and the queue goes on.
    void skipRow();

    /// As cancelAllDownloads(), and deletes the service once its thread has come to rest, so that
    /// a slow medium holds nobody up.
    static void retire(std::unique_ptr<DownloadFileService> service);

private:
    using Task = std::shared_ptr<URLSessionDownloadTask>;

    /// What the session's thread needs to know of the download under way.
    struct Placement
    {
        std::optional<QUrl> destinationFileUrl;
        std::optional<int> index; ///< absent without a window
        std::stop_source stop;
    };

    void startDownload(const QUrl &url);
    [[nodiscard]] std::shared_ptr<Download> downloadRecord(const QUrl &url);
    void skip(Download &download);
    void markFailed(int index, const Download &download);
    void run(const std::shared_ptr<Download> &download);
    void resumeDownload(const QUrl &url, const QByteArray &resumeData);
    void progress(const Task &task, qint64 bytesWritten);
    void transferEnded(const Task &task, const std::optional<URLError> &error, bool answered);
    /// False when there was nothing left to restart.
    bool restart(const Task &task, const URLError &error, bool answered);
    void placed(const Task &task, int index);
    void placingFailed(const Task &task, int index, const QString &error);
    void copyDownloadToDestination(int index);
    void taskFinished(const Task &task, bool success);
    void completionHandlersChanged() const;
    [[nodiscard]] Placement placement() const;

    void didWriteData(const Task &task, qint64 bytesWritten, qint64 totalBytesWritten,
                      qint64 totalBytesExpectedToWrite) override;
    void didFinishDownloading(const Task &task, const QString &temporaryFile) override;
    void didFinishCollectingMetrics(const Task &task) override;
    void didComplete(const Task &task, const std::optional<URLError> &error) override;

    Task m_downloadTask; ///< of the last start; absent once cancelled
    QString m_fileName;
    std::optional<UpdateFileType> m_updateFileType;
    QueueWindow *m_downloadWindowController = nullptr;
    QHash<QUrl, std::shared_ptr<Download>> m_activeDownloads;
    std::shared_ptr<Download> m_latestDownload = std::make_shared<Download>();
    int m_subtract = 0;
    QHash<QString, Completion> m_completionHandlers; ///< by address
    PlacedHandler m_placedHandler;

    mutable QMutex m_placementMutex;
    Placement m_placement;

    std::unique_ptr<QObject> m_callbackGuard = std::make_unique<QObject>();
    const QPointer<QObject> m_guard{m_callbackGuard.get()}; ///< gone once retired
    URLSession m_defaultSession; ///< last, so that its thread ends before all the above goes
};
