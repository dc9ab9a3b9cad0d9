#pragma once

#include "library/DownloadQueue.h"
#include "platform/URLSession.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <memory>
#include <optional>

class KeptDownloads;
class QueueWindow;

/// What is known of one server address over all attempts.
struct Download
{
    std::optional<QUrl> url;
    std::shared_ptr<URLSessionDownloadTask> task;
    bool isDownloading = false;
    std::optional<PartialDownload> resumeData;
    int tries = 0;         ///< starts asked for, counted before the start
    double downloaded = 0; ///< bytes that count in the run's total

    QString target; ///< path of the file on the pen
    QString fileName;
    UpdateFileType updateFileType = UpdateFileType::qnk;
    int index = -1;           ///< of its row; -1 without a window
    qint64 expectedSize = -1; ///< as told before; -1 when not
    std::function<void()> placedHandler;
};

/// Moves files from the servers onto the pen, one at a time, with one retry each, and tells the
/// queue's window to go on. Main thread only; the session's thread stores and places the file and
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

    /// What cannot be placed is handed to `kept`, which may be absent, also by a retired service.
    explicit DownloadFileService(KeptDownloads *kept = nullptr);
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
    /// a slow medium holds nobody up; with `owner` at the latest.
    static void retire(std::unique_ptr<DownloadFileService> service, QObject *owner);

    /// Runs `done` on the session's thread, or drops it with the service, once nothing of what was
    /// cancelled is open on the pen any more.
    void whenAtRest(std::function<void()> done);

private:
    using Task = std::shared_ptr<URLSessionDownloadTask>;

    [[nodiscard]] std::shared_ptr<Download> downloadRecord(const QUrl &url) const;
    void startDownload(const QUrl &url);
    [[nodiscard]] Task makeTask(const Download &download);
    void skip(Download &download);
    void markFailed(int index, Download &download);
    void run(const std::shared_ptr<Download> &download);
    void resumeDownload(const QUrl &url, const PartialDownload &resumeData);
    void progress(const Task &task, qint64 bytesWritten, qint64 totalBytesWritten);
    void transferEnded(const Task &task, const std::optional<URLError> &error, bool answered);
    /// False when there was nothing left to restart.
    bool restart(const Task &task, const URLError &error, bool answered);
    void placed(const Task &task);
    void storingFailed(const Task &task, const FileFailure &failure);
    void copyDownloadToDestination(const Download &download);
    void taskFinished(const Task &task, bool success);
    void completionHandlersChanged() const;

    void didWriteData(const Task &task, qint64 bytesWritten, qint64 totalBytesWritten,
                      qint64 totalBytesExpectedToWrite) override;
    void didFinishDownloading(const Task &task, const std::shared_ptr<IncomingFile> &file) override;
    void didFinishCollectingMetrics(const Task &task) override;
    void didComplete(const Task &task, const std::optional<URLError> &error) override;

    Task m_downloadTask; ///< of the last start; absent once cancelled
    KeptDownloads *const m_kept;
    const QPointer<QObject> m_keptGuard;
    QueueWindow *m_downloadWindowController = nullptr;
    QHash<QUrl, std::shared_ptr<Download>> m_activeDownloads;
    std::shared_ptr<Download> m_latestDownload = std::make_shared<Download>();
    QHash<QString, Completion> m_completionHandlers; ///< by address

    std::unique_ptr<QObject> m_callbackGuard = std::make_unique<QObject>();
    const QPointer<QObject> m_guard{m_callbackGuard.get()}; ///< gone once retired
    URLSession m_defaultSession; ///< last, so that its thread ends before all the above goes
};
