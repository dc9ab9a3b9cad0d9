#pragma once

#include "platform/FileFailure.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <atomic>
#include <memory>
#include <optional>
#include <stop_token>
#include <utility>

class IncomingFile;
class SessionQueue;

// What goes into a session and comes out of it.

struct URLRequest
{
    QUrl url;
    QByteArray method = "GET";
    QList<std::pair<QByteArray, QByteArray>> headers;
    QByteArray body;
};

struct URLResponse
{
    QUrl url; ///< after redirects
    int statusCode = 0;
    QHash<QByteArray, QByteArray> headers; ///< names in lower case

    [[nodiscard]] QByteArray header(const QByteArray &name) const
    {
        return headers.value(name.toLower());
    }
    [[nodiscard]] bool isSuccess() const { return statusCode >= 200 && statusCode < 300; }
};

struct DataTaskResult
{
    QByteArray data;                     ///< the body, also of an answer that is no success
    std::optional<URLResponse> response; ///< absent when no answer came
    QString error;                       ///< transport failure in words; empty when there was none
    bool isSilent = false;               ///< the server said nothing, or no more, for too long
    bool isEndTold = false; ///< the body ended where the answer said, not where the line broke

    /// The whole of an answer that is a success has come.
    [[nodiscard]] bool isSuccess() const
    {
        return error.isEmpty() && response && response->isSuccess();
    }
    /// Why it is no success, in words; empty when it is one.
    [[nodiscard]] QString failure() const
    {
        if (isSuccess() || !error.isEmpty() || !response)
            return error;
        return QStringLiteral("HTTP %1 for %2")
            .arg(response->statusCode)
            .arg(response->url.toString(QUrl::FullyEncoded));
    }
};

/// What a broken transfer left: a value; the bytes go with its last copy.
struct PartialDownload
{
    std::shared_ptr<IncomingFile> file;
    QByteArray validator = {}; ///< the version they belong to
    qint64 total = -1;         ///< of the whole file; -1 when it was not told
};

struct DownloadRequest
{
    QUrl url;
    QString target;           ///< where the file shall stand, a path as FileManager takes it
    qint64 expectedSize = -1; ///< what HEAD told; any other is refused. -1 when nothing was told
    int index = -1;           ///< the caller's own, for which of its rows it is
    std::optional<PartialDownload> rest = {}; ///< of an earlier attempt, to go on with
};

struct URLError
{
    enum class Kind {
        Transfer,
        Cancelled,
        File, ///< the bytes could not be stored
    };

    Kind kind = Kind::Transfer;
    QString description; ///< "Abgebrochen" for a cancelled transfer
    FileFailure file = {};
    std::optional<PartialDownload> rest = {}; ///< for another attempt
};

/// One transfer to its place. Made by the session, started by resume().
class URLSessionDownloadTask : public std::enable_shared_from_this<URLSessionDownloadTask>
{
public:
    URLSessionDownloadTask(DownloadRequest request, std::shared_ptr<SessionQueue> session);

    [[nodiscard]] const DownloadRequest &request() const { return m_request; }
    /// The address the task was made for.
    [[nodiscard]] const QUrl &originalUrl() const { return m_request.url; }

    /// Starts the transfer; later calls do nothing. Any thread.
    void resume();
    /// Ends the transfer, and the placing of its file, with the failure "Abgebrochen"; a task that
    /// is resumed later ends so at once. Any thread.
    void cancel();
    [[nodiscard]] std::stop_token stopToken() const { return m_stop.get_token(); }

    /// What the server answered so far; absent before. In delegate callbacks only.
    [[nodiscard]] const std::optional<URLResponse> &response() const { return m_response; }
    /// For the session.
    void setResponse(const URLResponse &response) { m_response = response; }

private:
    const DownloadRequest m_request;
    const std::shared_ptr<SessionQueue> m_session;
    std::stop_source m_stop;
    std::atomic<bool> m_isStarted = false;
    std::optional<URLResponse> m_response;
};

/// Told of every download task of a session, on the session's thread, one call after another.
class URLSessionDownloadDelegate
{
public:
    virtual ~URLSessionDownloadDelegate() = default;

    /// At most every 100 ms or 1 MiB, whichever comes first, and always at the end. The total
    /// counts what a resumed transfer had before; the expected one is -1 where it is unknown.
    virtual void didWriteData(const std::shared_ptr<URLSessionDownloadTask> &task,
                              qint64 bytesWritten, qint64 totalBytesWritten,
                              qint64 totalBytesExpectedToWrite) = 0;
    /// The whole file has come and may be placed; it is gone once nobody holds it.
    virtual void didFinishDownloading(const std::shared_ptr<URLSessionDownloadTask> &task,
                                      const std::shared_ptr<IncomingFile> &file) = 0;
    virtual void
    didFinishCollectingMetrics(const std::shared_ptr<URLSessionDownloadTask> &task) = 0;
    /// The last call for a task; without `error` after didFinishDownloading.
    virtual void didComplete(const std::shared_ptr<URLSessionDownloadTask> &task,
                             const std::optional<URLError> &error) = 0;
};
