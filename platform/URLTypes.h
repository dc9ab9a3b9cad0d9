#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>
#include <utility>

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

/// One transfer into a temporary file. Made by the session, started by resume().
class URLSessionDownloadTask
{
public:
    virtual ~URLSessionDownloadTask() = default;

    /// The address the task was made for; of a resumed one, that of the first attempt.
    [[nodiscard]] virtual QUrl originalUrl() const = 0;
    /// What the server answered so far; absent before. To be asked in delegate callbacks.
    [[nodiscard]] virtual std::optional<URLResponse> response() const = 0;
    /// Starts the transfer; later calls do nothing. Any thread.
    virtual void resume() = 0;
    /// Ends the transfer with the failure "Abgebrochen", also one that never began. Any thread.
    virtual void cancel() = 0;
};

struct URLError
{
    QString description;                  ///< "Abgebrochen" for a cancelled transfer
    std::optional<QByteArray> resumeData; ///< for URLSession::downloadTask(resumeData:)
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
    /// The file is removed when the call returns, unless it was moved away.
    virtual void didFinishDownloading(const std::shared_ptr<URLSessionDownloadTask> &task,
                                      const QString &temporaryFile) = 0;
    virtual void
    didFinishCollectingMetrics(const std::shared_ptr<URLSessionDownloadTask> &task) = 0;
    /// The last call for a task; without `error` after didFinishDownloading.
    virtual void didComplete(const std::shared_ptr<URLSessionDownloadTask> &task,
                             const std::optional<URLError> &error) = 0;
};
