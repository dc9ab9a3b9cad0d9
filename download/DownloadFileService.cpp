#include "download/DownloadFileService.h"

#include "download/QueueWindow.h"
#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

/// Sizes beyond this are no sizes of files on a pen.
constexpr qint64 largestLength = qint64(1) << 40;

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

void queueNextStart(const QPointer<QObject> &guard)
{
    Dispatch::main(guard, [] { QueueWindow::postStartElementDownloads(); });
}

} // namespace

DownloadFileService::DownloadFileService(QObject *parent)
    : QObject(parent)
    , m_defaultSession(this)
{
}

DownloadFileService::~DownloadFileService()
{
    placement().stop.request_stop();
}

void DownloadFileService::retire(std::unique_ptr<DownloadFileService> service)
{
    if (!service)
        return;
    DownloadFileService *retired = service.release();
    retired->cancelAllDownloads();
    retired->m_callbackGuard.reset();
    retired->m_defaultSession.async([guard = QPointer<QObject>(retired), retired] {
        Dispatch::main(guard, [retired] { delete retired; });
    });
}

void DownloadFileService::setDownloadWindowController(QueueWindow *window)
{
    m_downloadWindowController = window;
}

void DownloadFileService::download(const QString &urlString, const QUrl &folder,
                                   const QString &fileName, UpdateFileType updateFileType,
                                   Completion completion, PlacedHandler placedHandler)
{
    {
        const QMutexLocker locker(&m_placementMutex);
        m_placement.destinationFileUrl = URLFactory::fileURL(folder, fileName);
    }
    m_fileName = fileName;
    m_updateFileType = updateFileType;
    m_placedHandler = std::move(placedHandler);
    const std::optional<QUrl> url = makeURL(urlString);
    if (!url) {
        if (completion)
            completion(false);
        return;
    }
    startDownload(*url);
    m_completionHandlers.insert(text(*url), completion);
    completionHandlersChanged();
}

void DownloadFileService::startDownload(const QUrl &url)
{
    const std::shared_ptr<Download> download = downloadRecord(url);
    ++download->tries;
    download->url = url;
    if (download->tries >= skippedTry)
        skip(*download);
    else
        run(download);
}

/// The address's record with a task for the coming attempt.
std::shared_ptr<Download> DownloadFileService::downloadRecord(const QUrl &url)
{
    std::shared_ptr<Download> download = m_activeDownloads.value(url);
    if (!download)
        download = std::make_shared<Download>();
    download->task = download->resumeData ? m_defaultSession.downloadTask(*download->resumeData)
                                          : m_defaultSession.downloadTask(url);
    m_downloadTask = download->task;
    return download;
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

void DownloadFileService::markFailed(int index, const Download &download)
{
    QList<UpdateElement> &rows = updateElements();
    if (index < 0 || index >= rows.size())
        return;
    UpdateElement &row = rows[index];
    row.downloadType = DownloadType::Failed;
    totalBytesToDownload() -= row.contentLength;
    totalBytesDownloaded() -= static_cast<qint64>(download.downloaded);
    m_downloadWindowController->setIndexToDownload(index + 1);
    queueNextStart(m_guard);
}

void DownloadFileService::skipRow()
{
    if (!m_downloadWindowController)
        return;
    markFailed(m_downloadWindowController->indexToDownload(), Download());
    m_downloadWindowController->reloadQueueTable();
}

void DownloadFileService::run(const std::shared_ptr<Download> &download)
{
    m_latestDownload = download;
    {
        const QMutexLocker locker(&m_placementMutex);
        m_placement.stop = std::stop_source();
        m_placement.index.reset();
        if (m_downloadWindowController)
            m_placement.index = m_downloadWindowController->indexToDownload();
    }
    debugPrint(u"Start downloading for the "_s + QString::number(download->tries)
               + u" time from this URL: "_s + text(*download->url));
    download->task->resume();
    download->isDownloading = true;
    m_activeDownloads.insert(*download->url, download);
}

void DownloadFileService::resumeDownload(const QUrl &url, const QByteArray &resumeData)
{
    if (const std::shared_ptr<Download> download = m_activeDownloads.value(url))
        download->resumeData = resumeData;
    else
        debugPrint(u"There is no download for that URL"_s);
    startDownload(url);
}

void DownloadFileService::progress(const Task &task, qint64 bytesWritten)
{
    totalBytesDownloaded() += bytesWritten;
    std::shared_ptr<Download> download = m_activeDownloads.value(task->originalUrl());
    if (!download)
        download = std::make_shared<Download>();
    const bool restartedFromZero = !download->resumeData && download->tries > 1;
    if (restartedFromZero && m_subtract <= 0) {
        ++m_subtract;
        debugPrint(u"WILL SUBSTRACT "_s + QString::number(download->downloaded, 'f', 1)
                   + u" from "_s + QString::number(totalBytesDownloaded()));
        totalBytesDownloaded() -= static_cast<qint64>(download->downloaded);
    }
    download->downloaded += static_cast<double>(bytesWritten);
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
    const bool cancelled = error->description == u"Abgebrochen"_s || task != m_downloadTask;
    if (cancelled || restart(task, *error, answered))
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
    } else if (!error.resumeData) {
        debugPrint(u"There is no resumable Data for this Error, will start Download anew"_s);
        startDownload(task->originalUrl());
    } else {
        resumeDownload(task->originalUrl(), *error.resumeData);
    }
    return true;
}

/// The row is ready once those who asked have been told and have written the metadata.
void DownloadFileService::placed(const Task &task, int index)
{
    taskFinished(task, true);
    if (m_placedHandler)
        m_placedHandler();
    copyDownloadToDestination(index);
}

void DownloadFileService::placingFailed(const Task &task, int index, const QString &error)
{
    taskFinished(task, false);
    if (m_downloadWindowController)
        m_downloadWindowController->copyFailed(index, error);
}

void DownloadFileService::copyDownloadToDestination(int index)
{
    const QStringList pieces = m_fileName.split(u'_', Qt::SkipEmptyParts);
    if (pieces.isEmpty()) {
        debugPrint(u"Could not extract MID from current file name. Aborting copying download to "
                   u"destination."_s);
        return;
    }
    QString metadataName = m_fileName;
    metadataName.replace(fileExtension(FileType::qnk), fileExtension(FileType::txt));
    for (const ElementPtr &record : std::as_const(pendingElements())) {
        if (record->mid != pieces.first())
            continue;
        if (const std::optional<QUrl> folder = URLFactory::getBookURL())
            FileService::writeFile(record->textFileContent(),
                                   URLFactory::fileURL(*folder, metadataName));
    }
    if (index < updateElements().size() && m_downloadWindowController) {
        updateElements()[index].downloadType = DownloadType::Ready;
        m_downloadWindowController->setIndexToDownload(index + 1);
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
    m_downloadTask.reset();
    placement().stop.request_stop();
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
        if (length && (*length < 0 || *length > largestLength))
            length.reset();
        Dispatch::main(guard, [completion, length] { completion(length); });
    });
}

DownloadFileService::Placement DownloadFileService::placement() const
{
    const QMutexLocker locker(&m_placementMutex);
    return m_placement;
}

void DownloadFileService::didWriteData(const Task &task, qint64 bytesWritten, qint64, qint64)
{
    Dispatch::main(m_guard, [this, task, bytesWritten] { progress(task, bytesWritten); });
}

void DownloadFileService::didFinishDownloading(const Task &task, const QString &temporaryFile)
{
    const Placement target = placement();
    if (!target.destinationFileUrl) {
        debugPrint(u"Unexpectedly have no destination file URL to copy downloaded file to. "
                   u"Aborting."_s);
        return;
    }
    if (!target.index) {
        debugPrint(u"No index to download. Wont copy downloaded file of task "_s
                   + text(task->originalUrl()) + u'.');
        return;
    }
    const int index = *target.index;
    Dispatch::main(m_guard, [this, index] {
        if (m_downloadWindowController)
            m_downloadWindowController->copyStarted(index);
    });
    if (!target.stop.stop_requested())
        FileService::deleteFile(*target.destinationFileUrl);
    const FileResult moved =
        FileManager::moveItem(temporaryFile, target.destinationFileUrl->path(QUrl::FullyDecoded),
                              target.stop.get_token());
    if (moved) {
        Dispatch::main(m_guard, [this, task, index] { placed(task, index); });
        return;
    }
    print(u"file error: "_s + moved.error);
    Dispatch::main(m_guard,
                   [this, task, index, error = moved.error] { placingFailed(task, index, error); });
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
