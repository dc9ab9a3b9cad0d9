#include "download/DownloadFileService.h"

#include "download/KeptDownloads.h"
#include "download/QueueWindow.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/HttpAnswer.h"
#include "platform/IncomingFile.h"
#include "platform/StandardOutput.h"

#include <algorithm>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// An address gets its first start and one retry.
constexpr int skippedTry = 3;

QString text(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

void logError(const URLError &error)
{
    debugPrint(u"An Error accured while Downloading. ERROR: ( "_s + error.description + u" )"_s);
}

/// What HEAD told of the row's file; -1 when nothing, or when it told it of another address.
qint64 expectedSize(int index, const QString &urlString)
{
    const UpdateElement row = updateElements().value(index);
    const bool isOfThis = row.updateURLString.isEmpty() || row.updateURLString == urlString;
    return isOfThis && row.contentLength > 0 ? row.contentLength : -1;
}

void queueNextStart(const QPointer<QObject> &guard)
{
    Dispatch::main(guard, [] { QueueWindow::postStartElementDownloads(); });
}

} // namespace

DownloadFileService::DownloadFileService(KeptDownloads *kept)
    : m_kept(kept)
    , m_keptGuard(kept)
    , m_defaultSession(this)
{
}

DownloadFileService::~DownloadFileService()
{
    if (m_downloadTask)
        m_downloadTask->cancel();
}

void DownloadFileService::retire(std::unique_ptr<DownloadFileService> service, QObject *owner)
{
    if (!service)
        return;
    DownloadFileService *retired = service.release();
    retired->setParent(owner);
    retired->cancelAllDownloads();
    retired->m_callbackGuard.reset();
    retired->whenAtRest([guard = QPointer<QObject>(retired), retired] {
        Dispatch::main(guard, [retired] { delete retired; });
    });
}

void DownloadFileService::whenAtRest(std::function<void()> done)
{
    m_defaultSession.async(std::move(done));
}

void DownloadFileService::setDownloadWindowController(QueueWindow *window)
{
    m_downloadWindowController = window;
}

void DownloadFileService::download(const QString &urlString, const QUrl &folder,
                                   const QString &fileName, UpdateFileType updateFileType,
                                   Completion completion, PlacedHandler placedHandler)
{
    const std::optional<QUrl> url = makeURL(urlString);
    if (!url) {
        if (completion)
            completion(false);
        return;
    }
    const std::shared_ptr<Download> download = downloadRecord(*url);
    download->target = pathOf(URLFactory::fileURL(folder, fileName));
    download->fileName = fileName;
    download->updateFileType = updateFileType;
    download->index =
        m_downloadWindowController ? m_downloadWindowController->indexToDownload() : -1;
    download->expectedSize = expectedSize(download->index, urlString);
    download->placedHandler = std::move(placedHandler);
    m_activeDownloads.insert(*url, download);
    startDownload(*url);
    m_completionHandlers.insert(text(*url), completion);
    completionHandlersChanged();
}

std::shared_ptr<Download> DownloadFileService::downloadRecord(const QUrl &url) const
{
    std::shared_ptr<Download> download = m_activeDownloads.value(url);
    return download ? download : std::make_shared<Download>();
}

void DownloadFileService::startDownload(const QUrl &url)
{
    const std::shared_ptr<Download> download = downloadRecord(url);
    ++download->tries;
    download->url = url;
    const bool isSkipped = download->tries >= skippedTry;
    if (isSkipped)
        download->resumeData.reset(); // what it left goes from the pen
    download->task = makeTask(*download);
    m_downloadTask = download->task;
    if (isSkipped)
        skip(*download);
    else
        run(download);
}

DownloadFileService::Task DownloadFileService::makeTask(const Download &download)
{
    DownloadRequest request{*download.url, download.target, download.expectedSize, download.index};
    request.rest = download.resumeData;
    if (!request.rest && m_keptGuard)
        request.rest = m_kept->find(request);
    return m_defaultSession.downloadTask(request);
}

void DownloadFileService::skip(Download &download)
{
    debugPrint(u"Will skip this Download."_s);
    if (!m_downloadWindowController) {
        debugPrint(u"No index to download therefore this Download can't be skiped!"_s);
        return;
    }
    markFailed(m_downloadWindowController->indexToDownload(), download);
    taskFinished(download.task, true);
    m_downloadWindowController->reloadQueueTable();
}

void DownloadFileService::markFailed(int index, Download &download)
{
    QList<UpdateElement> &rows = updateElements();
    if (index < 0 || index >= rows.size())
        return;
    UpdateElement &row = rows[index];
    row.downloadType = DownloadType::Failed;
    totalBytesToDownload() -= row.contentLength;
    totalBytesDownloaded() -= static_cast<qint64>(std::exchange(download.downloaded, 0));
    m_downloadWindowController->setIndexToDownload(index + 1);
    queueNextStart(m_guard);
}

void DownloadFileService::skipRow()
{
    if (!m_downloadWindowController)
        return;
    Download never;
    markFailed(m_downloadWindowController->indexToDownload(), never);
    m_downloadWindowController->reloadQueueTable();
}

void DownloadFileService::run(const std::shared_ptr<Download> &download)
{
    m_latestDownload = download;
    debugPrint(u"Start downloading for the "_s + QString::number(download->tries)
               + u" time from this URL: "_s + text(*download->url));
    download->task->resume();
    download->isDownloading = true;
    m_activeDownloads.insert(*download->url, download);
}

void DownloadFileService::resumeDownload(const QUrl &url, const PartialDownload &resumeData)
{
    if (const std::shared_ptr<Download> download = m_activeDownloads.value(url))
        download->resumeData = resumeData;
    else
        debugPrint(u"There is no download for that URL"_s);
    startDownload(url);
}

/// What a row has loaded counts once: an attempt that begins at zero takes the earlier one's back.
void DownloadFileService::progress(const Task &task, qint64 bytesWritten, qint64 totalBytesWritten)
{
    const std::shared_ptr<Download> download = m_activeDownloads.value(task->originalUrl());
    if (!download || download->task != task)
        return;
    totalBytesDownloaded() += bytesWritten;
    const auto before = static_cast<double>(totalBytesWritten - bytesWritten);
    if (before < download->downloaded) {
        debugPrint(u"WILL SUBSTRACT "_s + QString::number(download->downloaded, 'f', 1)
                   + u" from "_s + QString::number(totalBytesDownloaded()));
        totalBytesDownloaded() -= static_cast<qint64>(download->downloaded);
    }
    download->downloaded = static_cast<double>(totalBytesWritten);
    const double planned = std::max(1.0, static_cast<double>(totalBytesToDownload()));
    QueueWindow::postDownloadPercentage(
        std::ceil(static_cast<double>(totalBytesDownloaded()) / planned * 100));
}

void DownloadFileService::transferEnded(const Task &task, const std::optional<URLError> &error,
                                        bool answered)
{
    if (!error) {
        taskFinished(task, true);
        return;
    }
    logError(*error);
    // A failure that was on its way while its download was cancelled is part of the cancelling.
    const bool cancelled = error->kind == URLError::Kind::Cancelled || task != m_downloadTask;
    if (!cancelled && error->kind == URLError::Kind::File)
        storingFailed(task, error->file);
    else if (cancelled || restart(task, *error, answered))
        taskFinished(task, false);
}

bool DownloadFileService::restart(const Task &task, const URLError &error, bool answered)
{
    if (!answered) {
        debugPrint(u"The task in which this Error occurred has no URL"_s);
        if (!m_latestDownload->url) {
            debugPrint(u"And the latest Download doesn't have a Url either"_s);
            return false;
        }
        startDownload(*m_latestDownload->url);
    } else if (!error.rest) {
        debugPrint(u"There is no resumable Data for this Error, will start Download anew"_s);
        startDownload(task->originalUrl());
    } else {
        resumeDownload(task->originalUrl(), *error.rest);
    }
    return true;
}

/// The row is ready once those who asked have been told and have written the metadata.
void DownloadFileService::placed(const Task &task)
{
    taskFinished(task, true);
    const std::shared_ptr<Download> download = m_activeDownloads.value(task->originalUrl());
    if (!download)
        return;
    if (download->placedHandler)
        download->placedHandler();
    copyDownloadToDestination(*download);
}

/// What is about this file alone fails its row; anything else would meet the next one, too.
void DownloadFileService::storingFailed(const Task &task, const FileFailure &failure)
{
    using Reason = FileFailure::Reason;
    print(u"file error: "_s + failure.text);
    taskFinished(task, false);
    const std::shared_ptr<Download> download = m_activeDownloads.value(task->originalUrl());
    if (!m_downloadWindowController || !download || failure.reason == Reason::Cancelled)
        return;
    if (failure.reason == Reason::Full || failure.reason == Reason::TooLarge) {
        m_downloadWindowController->fileDidNotFit(failure);
        markFailed(download->index, *download);
        m_downloadWindowController->reloadQueueTable();
    } else {
        m_downloadWindowController->copyFailed(failure);
    }
}

void DownloadFileService::copyDownloadToDestination(const Download &download)
{
    if (download.fileName.split(u'_', Qt::SkipEmptyParts).isEmpty()) {
        debugPrint(u"Could not extract MID from current file name. Aborting copying download to "
                   u"destination."_s);
        return;
    }
    if (download.index < updateElements().size() && m_downloadWindowController) {
        updateElements()[download.index].downloadType = DownloadType::Ready;
        m_downloadWindowController->setIndexToDownload(download.index + 1);
        queueNextStart(m_guard);
    }
    if (m_downloadWindowController)
        m_downloadWindowController->reloadQueueTable();
}

void DownloadFileService::taskFinished(const Task &task, bool success)
{
    const auto handler = m_completionHandlers.find(text(task->originalUrl()));
    if (handler == m_completionHandlers.end())
        return;
    const Completion completion = *handler;
    m_completionHandlers.erase(handler);
    completionHandlersChanged();
    if (completion)
        completion(success);
}

void DownloadFileService::completionHandlersChanged() const
{
    QStringList entries;
    for (auto it = m_completionHandlers.begin(); it != m_completionHandlers.end(); ++it)
        entries += debugDescription(it.key()) + u": "_s + (*it ? u"(Function)"_s : u"nil"_s);
    print(u'[' + (entries.isEmpty() ? u":"_s : entries.join(u", "_s)) + u']');
}

void DownloadFileService::cancelAllDownloads()
{
    const QHash<QString, Completion> handlers = m_completionHandlers;
    for (const Completion &completion : handlers) {
        if (completion)
            completion(false);
    }
    if (m_downloadTask)
        m_downloadTask->cancel();
    m_downloadTask.reset();
    for (const std::shared_ptr<Download> &download : std::as_const(m_activeDownloads))
        download->resumeData.reset();
    m_defaultSession.cancelAllTasks();
}

void DownloadFileService::getContentLength(
    const QString &urlString, std::function<void(std::optional<qint64> length)> completion)
{
    const std::optional<QUrl> url = makeURL(urlString);
    if (!url) {
        completion(std::nullopt);
        return;
    }
    URLRequest request;
    request.url = *url;
    request.method = "HEAD";
    m_defaultSession.dataTask(request, [guard = m_guard, completion = std::move(completion)](
                                           const DataTaskResult &result) {
        std::optional<qint64> length;
        if (result.isSuccess())
            length = decimalInteger(QString::fromLatin1(result.response->header("Content-Length")));
        if (length && (*length < 0 || *length > largestFile))
            length.reset();
        Dispatch::main(guard, [completion, length] { completion(length); });
    });
}

void DownloadFileService::didWriteData(const Task &task, qint64 bytesWritten,
                                       qint64 totalBytesWritten, qint64)
{
    Dispatch::main(m_guard, [this, task, bytesWritten, totalBytesWritten] {
        progress(task, bytesWritten, totalBytesWritten);
    });
}

void DownloadFileService::didFinishDownloading(const Task &task,
                                               const std::shared_ptr<IncomingFile> &file)
{
    const int index = task->request().index;
    if (index < 0) {
        debugPrint(u"No index to download. Wont copy downloaded file of task "_s
                   + text(task->originalUrl()) + u'.');
        return;
    }
    Dispatch::main(m_guard, [this, index] {
        if (m_downloadWindowController)
            m_downloadWindowController->copyStarted(index);
    });
    const FileFailure failure = file->place(task->stopToken());
    if (!failure) {
        Dispatch::main(m_keptGuard,
                       [kept = m_kept, target = task->request().target] { kept->forget(target); });
        Dispatch::main(m_guard, [this, task] { placed(task); });
        return;
    }
    if (file->isOnComputer()) { // told past a retirement: nothing else may hold the content
        const PartialDownload whole{file, {}, file->size()};
        Dispatch::main(m_keptGuard, [kept = m_kept, request = task->request(), whole] {
            kept->keep(request, whole);
        });
    }
    Dispatch::main(m_guard, [this, task, failure] { storingFailed(task, failure); });
}

void DownloadFileService::didFinishCollectingMetrics(const Task &)
{
    print(u"didFinishCollecting"_s);
}

void DownloadFileService::didComplete(const Task &task, const std::optional<URLError> &error)
{
    const bool answered = task->response().has_value();
    Dispatch::main(m_guard,
                   [this, task, error, answered] { transferEnded(task, error, answered); });
}
