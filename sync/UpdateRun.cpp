#include "sync/UpdateRun.h"

#include "base/ApplicationLog.h"
#include "download/DownloadFileService.h"
#include "download/DownloadWindowController.h"
#include "download/LibraryReloading.h"
#include "library/ElementService.h"
#include "platform/Dispatch.h"
#include "platform/StandardOutput.h"
#include "sync/ElementUpdateService.h"
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

/// What earlier runs brought stays to be seen.
void clearQueue()
{
    updateElements().removeIf(
        [](const UpdateElement &row) { return row.downloadType != DownloadType::Ready; });
    totalBytesToDownload() = 0;
    totalBytesDownloaded() = 0;
}

} // namespace

UpdateRun::UpdateRun(const Surroundings &surroundings)
    : m_surroundings(surroundings)
    , m_window(surroundings.window)
    , m_downloadFileService(std::make_unique<DownloadFileService>(&surroundings.kept))
    , m_rowLoader(std::make_unique<RowLoader>(*m_downloadFileService, surroundings.pen))
{
    m_downloadFileService->setDownloadWindowController(&m_window);
    clearQueue();
    m_window.beginRun(m_rowLoader.get());
    connect(&m_window, &DownloadWindowController::stopped, this, &UpdateRun::stop);
    connect(&m_window, &DownloadWindowController::runEnded, this, &UpdateRun::rowsEnded);
    m_softwareWait.setSingleShot(true);
    connect(&m_softwareWait, &QTimer::timeout, this, &UpdateRun::startDownloads);
    m_coversSettle.setSingleShot(true);
    connect(&m_coversSettle, &QTimer::timeout, this,
            [this] { m_surroundings.viewController.loadData(); });
}

UpdateRun::~UpdateRun()
{
    m_stop.request_stop();
    DownloadFileService::retire(std::move(m_downloadFileService), &m_surroundings.retired);
}

bool UpdateRun::isUnderWay() const
{
    return !hasEnded(m_window.phase());
}

void UpdateRun::checkSoftware()
{
    const auto checked = [this](bool needed) {
        debugPrint(u"VersionService reports that"_s + (needed ? u" an "_s : u" NO "_s)
                   + u"update is needed."_s);
        m_needsSoftwareUpdate = needed;
        debugPrint(u"Finished work in version service perform."_s);
        softwareChecked();
    };
    m_rowLoader->versionService().perform(checked, m_stop.get_token());
}

void UpdateRun::softwareChecked()
{
    m_window.reloadQueueTable();
    if (m_stop.stop_requested())
        return;
    if (m_softwareWait.isActive())
        startDownloads();
    else if (!isUnderWay())
        startLateRows();
}

ElementList UpdateRun::readLocalMedias() const
{
    const ElementList localMedias = ElementService::getTextFileContentFromPen();
    writeLog(u"updateAll nach getTextFileContentFromPen"_s);
    writeLog(u"updateAll localMediaArray length: "_s + QString::number(localMedias.size()));
    for (const ElementPtr &local : localMedias)
        local->mid = removeLeadingZeros(local->mid);
    writeLog(u"updateAll nach localMediasArray forEach"_s);
    return localMedias;
}

void UpdateRun::fetchCatalogue()
{
    const auto keep = onMainThread(&UpdateRun::keepRecords);
    const auto goOn = onMainThread(&UpdateRun::planned);
    const PlanningTask task = planningTask(readLocalMedias());
    const auto answered = [task, keep, goOn](const Catalogue &catalogue) {
        PlanningTask planning = task;
        planning.askedAnew = catalogue.askedAnew;
        if (catalogue.records) {
            planning.remoteMedias = *catalogue.records;
            keep(*catalogue.records);
        }
        std::make_shared<UpdatePlanner>(std::move(planning))
            ->run([goOn, result = catalogue.result] { goOn(result); });
    };
    ElementUpdateService::fetchAllElementsFromMediaServer(m_surroundings.pen, true,
                                                          m_stop.get_token(), answered);
}

/// The records are those of the last run, for when nothing can be asked in this one.
PlanningTask UpdateRun::planningTask(const ElementList &localMedias)
{
    PlanningTask task{m_surroundings.pen};
    task.localMedias = titlesOf(localMedias);
    task.remoteMedias = pendingElements();
    task.stop = m_stop.get_token();
    task.queueRow = onMainThread(&UpdateRun::queueRow);
    task.coverCame = onMainThread(&UpdateRun::coverCame);
    return task;
}

template <class Value>
std::function<void(const Value &)> UpdateRun::onMainThread(void (UpdateRun::*take)(const Value &))
{
    const QPointer<QObject> guard(this);
    return [this, guard, stop = m_stop.get_token(), take](const Value &value) {
        Dispatch::main(guard, [this, stop, take, value] {
            if (!stop.stop_requested())
                (this->*take)(value);
        });
    };
}

void UpdateRun::keepRecords(const ElementList &records)
{
    pendingElements() = records;
}

/// A file that is already on its way is not queued again, nor is that of a deleted title at all.
void UpdateRun::queueRow(const UpdateElement &row)
{
    const QString content = contentName(row);
    if (m_queuedContents.contains(content) || m_deletedTitles.contains(row.elementId))
        return;
    m_queuedContents += content;
    m_plannedRows.append(row);
}

void UpdateRun::coverCame(const QString &elementId)
{
    if (!m_coversSettle.isActive())
        m_coversSettle.start(coversSettle);
    QList<UpdateElement> &rows = updateElements();
    const auto row = std::find_if(rows.begin(), rows.end(), [&elementId](const UpdateElement &r) {
        return r.elementId == elementId;
    });
    if (row == rows.end())
        return;
    row->image =
        ElementService::loadCoverImage(m_surroundings.pen, elementId).value_or(dummyCover());
    m_window.reloadQueueTable();
}

/// For the rows that are still planned; the window looks after those in the queue.
void UpdateRun::titlesDeleted(const QStringList &elementIds)
{
    m_deletedTitles += QSet<QString>(elementIds.begin(), elementIds.end());
    m_plannedRows.removeIf(
        [this](const UpdateElement &row) { return m_deletedTitles.contains(row.elementId); });
}

/// The window counts system software first, so its rows are waited for a while.
void UpdateRun::planned(const QString &result)
{
    m_result = result;
    if (m_needsSoftwareUpdate)
        return startDownloads();
    m_window.enter(RunPhase::AwaitingSoftware);
    m_softwareWait.start(m_surroundings.softwarePatience);
}

void UpdateRun::startDownloads()
{
    m_softwareWait.stop();
    updateElements().append(std::exchange(m_plannedRows, {}));
    writeLog(u"updateAll in DispatchQueue"_s);
    const bool needsSoftware = m_needsSoftwareUpdate.value_or(false);
    const bool rowsQueued = !updateElements().isEmpty();
    if (!m_result.isEmpty() || needsSoftware || rowsQueued) {
        debugPrint(u"Will show download window due to outstanding updates or downloads."_s);
        writeLog(u"updateAll if"_s);
        showDownloadWindow();
    } else {
        writeLog(u"updateAll else"_s);
        debugPrint(u"Won't show download window, TBD file was empty? "_s + text(m_result.isEmpty())
                   + u", software updated is needed? "_s + text(needsSoftware)
                   + u" and there are elements we should update? "_s + text(rowsQueued));
    }
    triggerElementDownloads();
    writeLog(u"updateAll nach triggerElementDownloads"_s);
}

void UpdateRun::showDownloadWindow()
{
    m_window.showWindow();
}

void UpdateRun::triggerElementDownloads()
{
    if (updateElements().isEmpty() || m_window.isWorking()) {
        m_window.postDownloadComplete();
        return;
    }
    m_window.resetProgress();
    sizeRows(0);
}

/// A long queue is sized in slices: the window stays alive meanwhile, and no request waits in line
/// for so long that it counts as unanswered.
void UpdateRun::sizeRows(qsizetype first)
{
    const qsizetype end = std::min(first + rowsPerSlice, updateElements().size());
    DispatchGroup slice;
    for (qsizetype i = first; i < end; ++i)
        sizeRow(i, slice);
    m_window.reloadQueueTable();
    slice.notify(this, [this, first, end] {
        if (m_stop.stop_requested())
            return;
        // A server that tells no sizes is not asked for all of them, each until it times out.
        if (end < updateElements().size() && areSizesTold(first, end))
            sizeRows(end);
        else
            QueueWindow::postStartElementDownloads();
    });
}

void UpdateRun::sizeRow(qsizetype index, DispatchGroup group)
{
    UpdateElement &row = updateElements()[index];
    if (row.downloadType != DownloadType::Waiting)
        return;
    if (row.updateFileType != UpdateFileType::qnk) {
        debugPrint(u"Will skip element download for type "_s + name(row.updateFileType));
        return;
    }
    row.image =
        ElementService::loadCoverImage(m_surroundings.pen, row.elementId).value_or(dummyCover());
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

void UpdateRun::rowsEnded()
{
    if (m_stop.stop_requested() || !startLateRows())
        Q_EMIT ended();
}

bool UpdateRun::startLateRows()
{
    if (!queueHasOpenRows())
        return false;
    showDownloadWindow();
    triggerElementDownloads();
    return true;
}

void UpdateRun::stop()
{
    m_stop.request_stop();
    m_softwareWait.stop();
    m_coversSettle.stop();
}

void UpdateRun::whenAtRest(std::function<void()> done)
{
    m_downloadFileService->whenAtRest(std::move(done));
}
