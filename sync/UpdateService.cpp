#include "sync/UpdateService.h"

#include "base/ApplicationLog.h"
#include "download/DownloadFileService.h"
#include "download/DownloadWindowController.h"
#include "download/LibraryReloading.h"
#include "library/DownloadQueue.h"
#include "library/ElementService.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Address.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/NotificationCenter.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/ElementUpdateService.h"
#include "sync/LogPostService.h"
#include "sync/PenTitles.h"
#include "sync/RequestAddresses.h"
#include "sync/RowLoader.h"
#include "sync/UpdatePlanner.h"
#include "sync/VersionService.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qsizetype rowsPerSlice = 50;

/// Covers that come soon after one another are shown together.
constexpr auto coversSettle = 500ms;

QString text(bool flag)
{
    return flag ? u"true"_s : u"false"_s;
}

/// Rows of one name load the same file.
QString contentName(const UpdateElement &row)
{
    return QStringList{row.publisherId, row.mid, row.bookVersion, nameOnServer(row)}.join(u'/');
}

bool isSized(const UpdateElement &row)
{
    return row.updateFileType == UpdateFileType::qnk && row.downloadType == DownloadType::Waiting;
}

/// False when none of the rows whose size was asked for has got one.
bool areSizesTold(qsizetype first, qsizetype end)
{
    QList<UpdateElement> rows = updateElements().mid(first, end - first);
    rows.removeIf([](const UpdateElement &row) { return !isSized(row); });
    return rows.size() < rowsPerSlice
           || std::any_of(rows.begin(), rows.end(),
                          [](const UpdateElement &row) { return row.contentLength > 0; });
}

/// Texts that name the same title are one, in the highest version any of them names.
ElementList titlesOf(const ElementList &texts)
{
    ElementList titles;
    QHash<QString, qsizetype> places;
    for (const ElementPtr &text : texts) {
        const qsizetype place = places.value(text->id, titles.size());
        places.insert(text->id, place);
        if (place == titles.size())
            titles += text;
        else if (titles.at(place)->bookVersion < text->bookVersion)
            titles[place] = text;
    }
    return titles;
}

/// Work that keeps the group waiting for as long as it is waited for itself, done or dropped.
std::function<void()> inGroup(DispatchGroup group)
{
    group.enter();
    const std::shared_ptr<void> waited(nullptr, [group](void *) mutable { group.leave(); });
    return [waited] {
    };
}

/// Sweeps what interrupted placements left on the pen.
void removeLeftovers()
{
    for (const std::optional<QUrl> &folder :
         {URLFactory::getBookURL(), URLFactory::getConfigureURL()}) {
        if (folder)
            FileManager::removeLeftovers(folder->path(QUrl::FullyDecoded));
    }
}

} // namespace

UpdateService::UpdateService(LibraryReloading &viewController, QObject *parent)
    : QObject(parent)
    , m_downloadWindowController(std::make_unique<DownloadWindowController>())
    , m_viewController(viewController)
{
    m_downloadWindowController->setViewController(&viewController);
    m_softwareWait.setSingleShot(true);
    m_coversSettle.setSingleShot(true);
    m_coversSettle.setInterval(coversSettle);
    connect(&m_coversSettle, &QTimer::timeout, this, [this] { m_viewController.loadData(); });
    connect(m_downloadWindowController.get(), &DownloadWindowController::titleDropped, this,
            [](const QString &mid) { ElementUpdateService::forgetRequests({mid}); });
    connect(m_downloadWindowController.get(), &DownloadWindowController::runEnded, this,
            &UpdateService::rowsEnded);
    NotificationCenter::defaultCenter().addObserver(
        QueueWindow::titlesDeleted, this, [this](const QVariantMap &userInfo) {
            titlesDeleted(userInfo.value(QueueWindow::elementIdsKey).toStringList());
        });
}

UpdateService::~UpdateService()
{
    m_stop.request_stop();
    m_penGone.request_stop();
}

DownloadWindowController &UpdateService::downloadWindowController()
{
    return *m_downloadWindowController;
}

void UpdateService::updateAll()
{
    if (m_isPenReleased)
        return;
    if (isRunning()) {
        m_runRequested = true;
        return;
    }
    writeLog(u"updateAll Beginn"_s);
    if (!UsbService::isQuilloConnected()) {
        debugPrint(u"Quillo is not connected. Skipping updateAll()"_s);
        writeLog(u"updateAll return"_s);
        return;
    }
    prepareRun();
    LogPostService::postLogFIleMidsToServer(m_penGone.get_token());
    writeLog(u"updateAll nach postLogFIleMidsToServer"_s);
    startSoftwareCheck();
    writeLog(u"updateAll nach versionService.perform"_s);
    readLocalMedias();
    fetchCatalogue();
    m_viewController.loadData();
    writeLog(u"updateAll nach loadData"_s);
    writeLog(u"updateAll Ende"_s);
}

/// Every run starts clean: nothing of an earlier one is loaded, counted or held against an address.
void UpdateService::prepareRun()
{
    m_state = State::Planning;
    m_stop.request_stop();
    m_stop = std::stop_source();
    auto finished =
        std::exchange(m_downloadFileService, std::make_unique<DownloadFileService>(&m_kept));
    m_downloadFileService->setDownloadWindowController(m_downloadWindowController.get());
    m_rowLoader = std::make_unique<RowLoader>(*m_downloadFileService);
    m_downloadWindowController->setRowLoading(m_rowLoader.get());
    DownloadFileService::retire(std::move(finished), this);
    updateElements().removeIf(
        [](const UpdateElement &row) { return row.downloadType != DownloadType::Ready; });
    m_queuedContents.clear();
    m_deletedTitles.clear();
    m_plannedRows.clear();
    m_needsSoftwareUpdate = false;
    m_softwareIsChecked = false;
    totalBytesToDownload() = 0;
    totalBytesDownloaded() = 0;
    m_downloadWindowController->prepareForRun();
    removeLeftovers();
}

void UpdateService::startSoftwareCheck()
{
    const auto checked = [this](bool needed) {
        debugPrint(u"VersionService reports that"_s + (needed ? u" an "_s : u" NO "_s)
                   + u"update is needed."_s);
        softwareChecked(needed);
        debugPrint(u"Finished work in version service perform."_s);
    };
    m_rowLoader->versionService().perform(checked, m_stop.get_token());
}

void UpdateService::softwareChecked(bool needed)
{
    m_needsSoftwareUpdate = needed;
    m_softwareIsChecked = true;
    m_downloadWindowController->reloadQueueTable();
    if (m_softwareWait.isActive())
        m_softwareWait.start(0);
    const bool mayGoOn = !m_stop.stop_requested() && !m_downloadWindowController->isStopped();
    if (m_state == State::Idle && mayGoOn)
        startLateRows();
}

void UpdateService::readLocalMedias()
{
    m_localMediasArray = ElementService::getTextFileContentFromPen();
    writeLog(u"updateAll nach getTextFileContentFromPen"_s);
    writeLog(u"updateAll localMediaArray length: "_s + QString::number(m_localMediasArray.size()));
    for (const ElementPtr &local : std::as_const(m_localMediasArray))
        local->mid = removeLeadingZeros(local->mid);
    writeLog(u"updateAll nach localMediasArray forEach"_s);
}

void UpdateService::fetchCatalogue()
{
    const QPointer<QObject> guard(this);
    const std::stop_token stop = m_stop.get_token();
    const PlanningTask task = planningTask();
    const auto answered = [this, guard, stop, task](const Catalogue &catalogue) {
        PlanningTask planning = task;
        planning.askedAnew = catalogue.askedAnew;
        if (catalogue.records) {
            planning.remoteMedias = *catalogue.records;
            Dispatch::main(guard, [stop, records = *catalogue.records] {
                if (!stop.stop_requested())
                    pendingElements() = records;
            });
        }
        std::make_shared<UpdatePlanner>(std::move(planning))
            ->run([this, guard, stop, result = catalogue.result] {
                Dispatch::main(guard, [this, stop, result] {
                    if (!stop.stop_requested())
                        planned(result);
                });
            });
    };
    ElementUpdateService::fetchAllElementsFromMediaServer(true, stop, answered);
}

/// The records are those of the last run, for when nothing can be asked in this one.
PlanningTask UpdateService::planningTask()
{
    const QPointer<QObject> guard(this);
    PlanningTask task;
    task.localMedias = titlesOf(m_localMediasArray);
    task.remoteMedias = pendingElements();
    task.stop = m_stop.get_token();
    task.sizeOf = [this, guard](const QString &address,
                                std::function<void(std::optional<qint64>)> told) {
        if (!makeURL(address))
            return told(std::nullopt);
        Dispatch::main(guard, [this, address, told = std::move(told)] {
            m_downloadFileService->getContentLength(address, told);
        });
    };
    task.queueRow = [this, guard, stop = task.stop](const UpdateElement &row) {
        Dispatch::main(guard, [this, stop, row] {
            if (!stop.stop_requested())
                queueRow(row);
        });
    };
    task.coverCame = [this, guard, stop = task.stop](const QString &elementId) {
        Dispatch::main(guard, [this, stop, elementId] {
            if (!stop.stop_requested())
                showCover(elementId);
        });
    };
    return task;
}

void UpdateService::showCover(const QString &elementId)
{
    if (!m_coversSettle.isActive())
        m_coversSettle.start();
    QList<UpdateElement> &rows = updateElements();
    const auto row = std::find_if(rows.begin(), rows.end(), [&elementId](const UpdateElement &r) {
        return r.elementId == elementId;
    });
    if (row == rows.end())
        return;
    row->image = ElementService::loadCoverImage(elementId).value_or(dummyCover());
    m_downloadWindowController->reloadQueueTable();
}

/// A file that is already on its way is not queued again, nor is that of a deleted title at all.
void UpdateService::queueRow(const UpdateElement &row)
{
    const QString content = contentName(row);
    if (m_queuedContents.contains(content) || m_deletedTitles.contains(row.elementId))
        return;
    m_queuedContents += content;
    m_plannedRows.append(row);
}

/// For the rows that are still planned; the window looks after those in the queue.
void UpdateService::titlesDeleted(const QStringList &elementIds)
{
    m_deletedTitles += QSet<QString>(elementIds.begin(), elementIds.end());
    QSet<QString> mids;
    for (const QString &id : elementIds)
        mids += PenTitles::midOf(id);
    ElementUpdateService::forgetRequests(mids);
    m_plannedRows.removeIf(
        [this](const UpdateElement &row) { return m_deletedTitles.contains(row.elementId); });
}

/// The window counts system software first, so its rows are waited for a while.
void UpdateService::planned(const QString &result)
{
    if (m_softwareIsChecked)
        return startDownloads(result);
    connect(&m_softwareWait, &QTimer::timeout, this, [this, result, stop = m_stop.get_token()] {
        if (!stop.stop_requested())
            startDownloads(result);
    });
    m_softwareWait.start(softwarePatience);
}

void UpdateService::startDownloads(const QString &result)
{
    updateElements().append(std::exchange(m_plannedRows, {}));
    writeLog(u"updateAll in DispatchQueue"_s);
    const bool rowsQueued = !updateElements().isEmpty();
    if (!result.isEmpty() || m_needsSoftwareUpdate || rowsQueued) {
        debugPrint(u"Will show download window due to outstanding updates or downloads."_s);
        writeLog(u"updateAll if"_s);
        showDownloadWindow();
    } else {
        writeLog(u"updateAll else"_s);
        debugPrint(u"Won't show download window, TBD file was empty? "_s + text(result.isEmpty())
                   + u", software updated is needed? "_s + text(m_needsSoftwareUpdate)
                   + u" and there are elements we should update? "_s + text(rowsQueued));
    }
    m_state = State::Downloading;
    triggerElementDownloads();
    writeLog(u"updateAll nach triggerElementDownloads"_s);
}

void UpdateService::showDownloadWindow()
{
    m_downloadWindowController->showWindow();
}

void UpdateService::triggerElementDownloads()
{
    if (updateElements().isEmpty() || m_downloadWindowController->isWorking()) {
        m_downloadWindowController->postDownloadComplete();
        return;
    }
    m_downloadWindowController->resetProgress();
    sizeRows(0);
}

/// A long queue is sized in slices: the window stays alive meanwhile, and no request waits in line
/// for so long that it counts as unanswered.
void UpdateService::sizeRows(qsizetype first)
{
    const qsizetype end = std::min(first + rowsPerSlice, updateElements().size());
    DispatchGroup slice;
    for (qsizetype i = first; i < end; ++i)
        sizeRow(i, slice);
    m_downloadWindowController->reloadQueueTable();
    slice.notify(this, [this, first, end, stop = m_stop.get_token()] {
        if (stop.stop_requested())
            return;
        // A server that tells no sizes is not asked for all of them, each until it times out.
        if (end < updateElements().size() && areSizesTold(first, end))
            sizeRows(end);
        else
            QueueWindow::postStartElementDownloads();
    });
}

void UpdateService::sizeRow(qsizetype index, DispatchGroup group)
{
    UpdateElement &row = updateElements()[index];
    if (row.downloadType != DownloadType::Waiting)
        return;
    if (row.updateFileType != UpdateFileType::qnk) {
        debugPrint(u"Will skip element download for type "_s + name(row.updateFileType));
        return;
    }
    row.image = ElementService::loadCoverImage(row.elementId).value_or(dummyCover());
    group.enter();
    const auto sized = [index, group,
                        stop = m_stop.get_token()](std::optional<qint64> size) mutable {
        QList<UpdateElement> &rows = updateElements();
        const bool waits = !stop.stop_requested() && index < rows.size()
                           && rows.at(index).downloadType == DownloadType::Waiting;
        if (waits) {
            rows[index].contentLength = size.value_or(0);
            totalBytesToDownload() += size.value_or(0);
        }
        group.leave();
    };
    m_downloadFileService->getContentLength(
        contentAddress(row.publisherId, row.mid, row.bookVersion, nameOnServer(row))
            .value_or(QString()),
        sized);
}

void UpdateService::rowsEnded()
{
    // Also cancelled while it is planned, in a window left open from an earlier run.
    const bool stopped = m_downloadWindowController->isStopped();
    if (stopped)
        m_stop.request_stop();
    if (m_state != State::Downloading && !(stopped && isRunning()))
        return;
    m_state = State::Idle;
    if (stopped || !startLateRows())
        finishRun();
}

bool UpdateService::startLateRows()
{
    if (!queueHasOpenRows())
        return false;
    m_state = State::Downloading;
    showDownloadWindow();
    if (m_downloadWindowController->isWorking())
        QueueWindow::postStartElementDownloads();
    else
        triggerElementDownloads();
    return true;
}

void UpdateService::penRemoved()
{
    forgetPen();
    if (!isRunning()) {
        m_downloadWindowController->explainFailedCopy();
        return;
    }
    m_runRequested = false;
    m_state = State::Idle;
    m_downloadWindowController->penRemoved();
    finishRun();
}

void UpdateService::releasePen(std::function<void()> done)
{
    m_isPenReleased = true;
    m_runRequested = false;
    forgetPen();
    if (isRunning())
        m_downloadWindowController->penWillGo();
    DispatchGroup writers;
    QList<DownloadFileService *> services = findChildren<DownloadFileService *>(); // retired
    if (m_downloadFileService)
        services += m_downloadFileService.get();
    for (DownloadFileService *service : std::as_const(services))
        service->whenAtRest(inGroup(writers));
    sharedSession().async(inGroup(writers)); // covers and the usage log
    writers.notify(this, std::move(done));
}

/// Nothing on its way, of an ended run either, reaches the pen any more.
void UpdateService::forgetPen()
{
    m_stop.request_stop();
    m_penGone.request_stop();
    m_penGone = std::stop_source();
    m_coversSettle.stop();
}

void UpdateService::finishRun()
{
    m_localMediasArray.clear();
    m_softwareWait.stop();
    m_softwareWait.disconnect(this);
    Q_EMIT runEnded();
    if (std::exchange(m_runRequested, false))
        Dispatch::main(this, [this] { updateAll(); });
}
