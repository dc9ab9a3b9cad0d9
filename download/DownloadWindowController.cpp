#include "download/DownloadWindowController.h"

#include "base/ApplicationLog.h"
#include "base/Localization.h"
#include "download/LibraryReloading.h"
#include "download/RowLoading.h"
#include "library/DownloadQueue.h"
#include "library/ElementService.h"
#include "pen/FileService.h"
#include "platform/Dispatch.h"
#include "platform/NotificationCenter.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto copyTickInterval = 100ms;
constexpr double copyTicksPerSecond = 10;
constexpr double assumedCopySpeed = 2'000'000; // bytes per second

QueueCounts countRows(int index)
{
    QueueCounts counts;
    counts.index = index;
    for (const UpdateElement &row : std::as_const(updateElements())) {
        counts.systemSoftware += isSystemSoftware(row) ? 1 : 0;
        counts.medias += row.updateFileType == UpdateFileType::qnk ? 1 : 0;
    }
    return counts;
}

/// The share of the rows placed once row `index` is, in percent.
double copyTarget(int index, int rows)
{
    return (index + 1) * 100.0 / std::max(1, rows);
}

} // namespace

DownloadWindowController::DownloadWindowController(QObject *parent)
    : QObject(parent)
{
    m_copyPercentageTimer.setInterval(copyTickInterval);
    m_presentation = presentationFor(m_phase);
    observeNotifications();
}

void DownloadWindowController::observeNotifications()
{
    NotificationCenter &center = NotificationCenter::defaultCenter();
    center.addObserver(downloadPercentage, this,
                       [this](const QVariantMap &userInfo) { changeProgressBar(userInfo); });
    center.addObserver(downloadComplete, this,
                       [this](const QVariantMap &) { changeToDownloadComplete(); });
    center.addObserver(QueueWindow::startElementDownloads, this,
                       [this](const QVariantMap &) { startElementDownloads(); });
    center.addObserver(titlesDeleted, this, [this](const QVariantMap &userInfo) {
        const QStringList ids = userInfo.value(elementIdsKey).toStringList();
        dropTitles({ids.begin(), ids.end()});
    });
    center.addObserver(noResponseFromServer, this,
                       [this](const QVariantMap &) { showNoInternetConnection(); });
}

void DownloadWindowController::setViewController(LibraryReloading *viewController)
{
    m_viewController = viewController;
}

void DownloadWindowController::reloadQueueTable()
{
    Q_EMIT queueChanged();
}

void DownloadWindowController::startElementDownloads()
{
    writeLog(QueueWindow::startElementDownloads);
    if (m_stopped)
        return;
    m_isWorking = true;
    m_runHasEnded = false;
    passFinishedRows();
    if (m_indexToDownload < 0) {
        reloadQueueTable();
        return;
    }
    QList<UpdateElement> &rows = updateElements();
    if (m_indexToDownload < rows.size())
        startRow(rows[m_indexToDownload]);
    announceEnd();
    reloadQueueTable();
}

/// Goes on to the first waiting row, as if each row before it had been asked for by itself.
void DownloadWindowController::passFinishedRows()
{
    const QList<UpdateElement> &rows = updateElements();
    while (m_indexToDownload >= 0 && m_indexToDownload < rows.size()
           && rows.at(m_indexToDownload).downloadType != DownloadType::Waiting) {
        ++m_indexToDownload;
        writeLog(QueueWindow::startElementDownloads);
    }
}

void DownloadWindowController::startRow(UpdateElement &row)
{
    if (row.updateFileType == UpdateFileType::txt || row.updateFileType == UpdateFileType::png)
        return;
    row.downloadType = DownloadType::Downloading;
    m_phase = Phase::Running; // whatever was told before, the pen is to stay where it is
    m_presentation = presentationFor(m_phase);
    m_presentation.cancelEnabled = !isSystemSoftware(row);
    Q_EMIT presentationChanged();
    if (m_rowLoading)
        m_rowLoading->loadRow(UpdateElement(row)); // the queue may move meanwhile
}

/// Tells that the run is complete, or that it is over although rows have failed.
void DownloadWindowController::announceEnd()
{
    if (allRowsReadyOrCanceled()) {
        postDownloadComplete();
        m_isWorking = false;
    } else if (!queueHasOpenRows()) {
        endRun(phaseOfFailedEnd());
    }
}

DownloadWindowController::Phase DownloadWindowController::phaseOfFailedEnd() const
{
    if (gotNothing())
        return Phase::NoAnswer;
    return m_misfit ? Phase::DidNotFit : Phase::SomeFailed;
}

void DownloadWindowController::postDownloadComplete()
{
    Dispatch::main(this, [this, run = m_run] {
        if (run == m_run)
            NotificationCenter::defaultCenter().post(downloadComplete);
    });
}

void DownloadWindowController::changeProgressBar(const QVariantMap &userInfo)
{
    const QVariant percentage = userInfo.value(percentDownloadedKey);
    if (percentage.typeId() == QMetaType::Double && !m_stopped)
        setDownloadPercentage(percentage.toDouble());
}

void DownloadWindowController::changeToDownloadComplete()
{
    m_copyPercentageTimer.stop();
    if (m_stopped) {
        tellRunEnded();
    } else if (gotNothing() || m_noAnswerIsUntold) {
        endRun(Phase::NoAnswer); // "complete" would hide that nothing could be asked
    } else {
        enter(Phase::Complete);
        Q_EMIT completed();
        tellRunEnded();
    }
}

/// The media server did not answer, and nothing else has come.
bool DownloadWindowController::gotNothing() const
{
    return m_noAnswer && readyRows() == m_readyBefore;
}

void DownloadWindowController::showNoInternetConnection()
{
    if (m_stopped)
        return;
    m_noAnswer = true;
    m_noAnswerIsUntold = m_isWorking && queueHasOpenRows(); // then it is told at the end
    if (!m_noAnswerIsUntold)
        enter(Phase::NoAnswer);
}

void DownloadWindowController::copyStarted(int index)
{
    QList<UpdateElement> &rows = updateElements();
    if (index < 0 || index >= rows.size()) {
        writeLog(u"copyStarted(for:): Wrong index supplied. This should definitely not happen."_s);
        if (!m_stopped)
            enter(Phase::WrongRow);
        return;
    }
    if (m_stopped)
        return;
    rows[index].downloadType = DownloadType::Copying;
    reloadQueueTable();
    startCopyTimer(index);
}

/// Fills the row's share of the copy percentage over the time that placing should take.
void DownloadWindowController::startCopyTimer(int index)
{
    const int rows = rowsNotCanceled();
    if (std::exchange(m_copiedBefore, true))
        setCopyPercentage(copyTarget(index - 1, rows));
    const double share = 100.0 / std::max(1, rows);
    const double ticks = static_cast<double>(updateElements().at(index).contentLength)
                         / assumedCopySpeed * copyTicksPerSecond;
    m_copyStep = ticks > 0 ? share / ticks : share;
    m_copyPercentageTimer.disconnect(this);
    connect(&m_copyPercentageTimer, &QTimer::timeout, this,
            [this, index, rows] { copyTick(index, rows); });
    m_copyPercentageTimer.start();
}

void DownloadWindowController::copyTick(int index, int rows)
{
    const double target = copyTarget(index, rows);
    if (target > m_copyPercentage) {
        setCopyPercentage(m_copyPercentage + m_copyStep);
        return;
    }
    setCopyPercentage(target);
    m_copyPercentageTimer.stop();
}

void DownloadWindowController::copyFailed(const FileFailure &failure)
{
    if (std::exchange(m_stopped, true))
        return;
    m_copyFailure = failure;
    endRun(Phase::CopyFailed);
}

/// Told at the end of the run, with what all of them together need.
void DownloadWindowController::fileDidNotFit(const FileFailure &failure)
{
    const bool addsUp =
        m_misfit.reason == failure.reason && failure.reason == FileFailure::Reason::Full;
    const qint64 before = addsUp ? m_misfit.needed : 0;
    m_misfit = failure;
    m_misfit.needed += before;
}

void DownloadWindowController::tellRunEnded()
{
    m_runHasEnded = true;
    Q_EMIT runEnded();
}

/// The queue goes no further; the window stays until the person closes it.
void DownloadWindowController::endRun(Phase phase)
{
    m_isWorking = false;
    m_copyPercentageTimer.stop();
    enter(phase);
    tellRunEnded();
}

void DownloadWindowController::stopTransfers()
{
    if (m_rowLoading)
        m_rowLoading->cancelAllRows();
}

void DownloadWindowController::resetProgress()
{
    m_indexToDownload = 0;
    m_readyShare = copyTarget(static_cast<int>(readyRows()) - 1, rowsNotCanceled());
    m_copyPercentage = m_readyShare;
    m_copyPercentageTimer.stop();
    setDownloadPercentage(m_readyShare);
}

void DownloadWindowController::prepareForRun()
{
    m_isWorking = false;
    m_stopped = false;
    m_noAnswer = false;
    m_noAnswerIsUntold = false;
    ++m_run;
    m_readyBefore = readyRows();
    m_copiedBefore = false;
    m_misfit = {};
    m_readyShare = 0;
    m_indexToDownload = 0;
    m_copyPercentage = 0;
    m_downloadPercentage = 0;
    m_copyPercentageTimer.stop();
    m_runHasEnded = false;
    enter(Phase::Idle);
    reloadQueueTable();
}

void DownloadWindowController::penRemoved()
{
    interrupt(Phase::PenRemoved);
}

void DownloadWindowController::penWillGo()
{
    interrupt(Phase::Stopped);
}

void DownloadWindowController::interrupt(Phase phase)
{
    m_stopped = true;
    stopTransfers();
    endRun(phase);
}

void DownloadWindowController::explainFailedCopy()
{
    if (m_phase == Phase::CopyFailed && m_copyFailure.reason != FileFailure::Reason::ReadOnly)
        enter(Phase::PenRemoved);
}

void DownloadWindowController::showWindow()
{
    Q_EMIT showRequested();
}

void DownloadWindowController::updateTexts()
{
    m_presentation.headline = headline();
    Q_EMIT presentationChanged();
    reloadQueueTable();
}

void DownloadWindowController::cancelBtnKlicked()
{
    m_stopped = true;
    Dispatch::main(this, [this] {
        stopTransfers();
        if (m_viewController) {
            m_viewController->loadData();
            m_viewController->showBooksView();
        }
    });
    Q_EMIT closeRequested();
    endRun(Phase::Stopped);
}

void DownloadWindowController::okBtnKlicked()
{
    if (m_viewController) {
        m_viewController->loadData();
        m_viewController->showBooksView();
    }
    if (m_stopped)
        updateElements().clear();
    else if (m_runHasEnded) // what came late is still to be loaded
        updateElements().removeIf([](const UpdateElement &row) { return !isOpen(row); });
    reloadQueueTable();
    FileService::removeHiddenItems();
    Q_EMIT closeRequested();
}

void DownloadWindowController::onItemClicked(int row, int column)
{
    QList<UpdateElement> &rows = updateElements();
    if (row < 0 || row >= rows.size() || column != cancelColumn || !canBeDropped(rows.at(row)))
        return;
    UpdateElement &dropped = rows[row];
    dropRow(dropped);
    Q_EMIT titleDropped(dropped.mid);
    if (!ElementService::qnkFileExists(dropped.elementId)) {
        writeLog(u"Will delete meta file for "_s + dropped.elementId
                 + u" since it was canceled and had no qnk on pen."_s);
        ElementService::deleteElement(dropped.elementId);
    }
    enter(m_stopped ? m_phase : Phase::Running);
    reloadQueueTable();
}

void DownloadWindowController::dropRow(UpdateElement &row)
{
    cancelRow(row);
    m_copyPercentage += 100.0 / static_cast<double>(updateElements().size());
}

/// Rows under way stay: their titles come back as a whole.
void DownloadWindowController::dropTitles(const QSet<QString> &elementIds)
{
    for (UpdateElement &row : updateElements()) {
        if (canBeDropped(row) && elementIds.contains(row.elementId))
            dropRow(row);
    }
    reloadQueueTable();
}

bool DownloadWindowController::canBeDropped(const UpdateElement &row)
{
    return row.downloadType == DownloadType::Waiting && row.updateFileType == UpdateFileType::qnk;
}

void DownloadWindowController::setDownloadPercentage(double percentage)
{
    m_downloadPercentage = std::max(percentage, m_readyShare);
    enter(Phase::Running);
}

void DownloadWindowController::setCopyPercentage(double percentage)
{
    m_copyPercentage = percentage;
    enter(Phase::Running);
}

void DownloadWindowController::enter(Phase phase)
{
    m_phase = phase;
    m_presentation = presentationFor(phase);
    Q_EMIT presentationChanged();
}

DownloadPresentation DownloadWindowController::presentationFor(Phase phase) const
{
    const double shown =
        phase == Phase::Complete ? 100.0 : shownProgress(m_downloadPercentage, m_copyPercentage);
    DownloadPresentation presentation;
    presentation.headline = headline();
    presentation.step = QString::number(static_cast<int>(shown)) + u" %"_s;
    presentation.bar = shown;
    presentation.image =
        phase == Phase::Complete ? u"quillo-fortschritt-laden_100"_s : progressImageName(shown);
    presentation.okEnabled =
        phase == Phase::Complete || phase == Phase::NoAnswer || phase == Phase::PenRemoved;
    presentation.cancelEnabled = !presentation.okEnabled;
    return presentation;
}

QString DownloadWindowController::headline() const
{
    switch (m_phase) {
    case Phase::Idle:
        return localized(u"label_downloading"_s);
    case Phase::Running:
        return downloadHeadline(countRows(m_indexToDownload));
    case Phase::Complete:
        return localized(u"label_download_complete"_s);
    case Phase::NoAnswer:
        return localized(u"label_no_response_from_server"_s);
    case Phase::WrongRow:
        return localized(u"download_window_error"_s);
    case Phase::CopyFailed:
        return storingHeadline(m_copyFailure);
    case Phase::DidNotFit:
        return storingHeadline(m_misfit);
    case Phase::SomeFailed:
        return localized(u"label_some_failed"_s);
    case Phase::PenRemoved:
        return localized(u"label_pen_removed"_s);
    case Phase::Stopped:
        return localized(u"label_stopped"_s);
    }
    Q_UNREACHABLE();
}
