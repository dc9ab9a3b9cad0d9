#include "download/DownloadWindowController.h"

#include "base/ApplicationLog.h"
#include "download/LibraryReloading.h"
#include "library/DownloadQueue.h"
#include "library/ElementService.h"
#include "pen/FileService.h"
#include "platform/Dispatch.h"
#include "platform/NotificationCenter.h"

#include <utility>

using namespace Qt::StringLiterals;

DownloadWindowController::DownloadWindowController(QObject *parent)
    : QObject(parent)
{
    beginRun(nullptr);
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

void DownloadWindowController::beginRun(RowLoading *rows)
{
    m_run = std::make_unique<DownloadRun>(rows);
    connect(m_run.get(), &DownloadRun::presentationChanged, this,
            &DownloadWindowController::presentationChanged);
    Q_EMIT presentationChanged();
    reloadQueueTable();
}

void DownloadWindowController::startElementDownloads()
{
    writeLog(QueueWindow::startElementDownloads);
    if (isStopped(phase()) || (hasEnded(phase()) && !queueHasOpenRows()))
        return;
    if (!isWorking())
        m_run->enter(RunPhase::Loading);
    passFinishedRows();
    if (indexToDownload() >= 0) {
        if (indexToDownload() < updateElements().size())
            startRow(updateElements()[indexToDownload()]);
        announceEnd();
    }
    reloadQueueTable();
}

/// Goes on to the first waiting row, as if each row before it had been asked for by itself.
void DownloadWindowController::passFinishedRows()
{
    const QList<UpdateElement> &rows = updateElements();
    while (indexToDownload() >= 0 && indexToDownload() < rows.size()
           && rows.at(indexToDownload()).downloadType != DownloadType::Waiting) {
        ++m_run->indexToDownload;
        writeLog(QueueWindow::startElementDownloads);
    }
}

void DownloadWindowController::startRow(UpdateElement &row)
{
    if (row.updateFileType == UpdateFileType::txt || row.updateFileType == UpdateFileType::png)
        return;
    row.downloadType = DownloadType::Downloading;
    m_run->load(row);
}

/// Tells that the run is complete, or that it is over although rows have failed.
void DownloadWindowController::announceEnd()
{
    if (allRowsReadyOrCanceled())
        postDownloadComplete();
    else if (!queueHasOpenRows())
        endRun(m_run->phaseOfEnd());
}

void DownloadWindowController::postDownloadComplete()
{
    postNotification(downloadComplete, m_run.get());
}

void DownloadWindowController::changeProgressBar(const QVariantMap &userInfo)
{
    const QVariant percentage = userInfo.value(percentDownloadedKey);
    if (percentage.typeId() == QMetaType::Double && !isStopped(phase()))
        m_run->setDownloadPercentage(percentage.toDouble());
}

void DownloadWindowController::changeToDownloadComplete()
{
    if (!hasEnded(phase()))
        endRun(m_run->phaseOfEnd());
}

void DownloadWindowController::showNoInternetConnection()
{
    if (!isStopped(phase()))
        m_run->tellNoAnswer();
}

void DownloadWindowController::copyStarted(int index)
{
    QList<UpdateElement> &rows = updateElements();
    if (index < 0 || index >= rows.size()) {
        writeLog(u"copyStarted(for:): Wrong index supplied. This should definitely not happen."_s);
        if (!isStopped(phase()))
            m_run->tellWrongRow();
        return;
    }
    if (isStopped(phase()))
        return;
    rows[index].downloadType = DownloadType::Copying;
    reloadQueueTable();
    m_run->startCopyTimer(index);
}

void DownloadWindowController::copyFailed(const FileFailure &failure)
{
    if (isStopped(phase()))
        return;
    m_run->setCopyFailure(failure);
    endRun(RunPhase::CopyFailed);
}

void DownloadWindowController::fileDidNotFit(const FileFailure &failure)
{
    m_run->addMisfit(failure);
}

/// The queue goes no further; the window stays until the person closes it.
void DownloadWindowController::endRun(RunPhase phase)
{
    const bool hadEnded = hasEnded(this->phase());
    m_run->end(phase);
    if (phase == RunPhase::Complete)
        Q_EMIT completed();
    if (isStopped(phase))
        Q_EMIT stopped();
    if (!hadEnded)
        Q_EMIT runEnded();
}

void DownloadWindowController::interrupt(RunPhase phase)
{
    m_run->cancelLoading();
    endRun(phase);
}

void DownloadWindowController::showWindow()
{
    Q_EMIT showRequested();
}

void DownloadWindowController::updateTexts()
{
    m_run->updateTexts();
}

void DownloadWindowController::reloadLibrary()
{
    if (!m_viewController)
        return;
    m_viewController->loadData();
    m_viewController->showBooksView();
}

void DownloadWindowController::cancelBtnKlicked()
{
    Dispatch::main(m_run.get(), [run = m_run.get()] { run->cancelLoading(); });
    Dispatch::main(this, [this] { reloadLibrary(); });
    Q_EMIT closeRequested();
    endRun(RunPhase::Stopped);
}

void DownloadWindowController::okBtnKlicked()
{
    reloadLibrary();
    if (isStopped(phase()))
        updateElements().clear();
    else if (hasEnded(phase())) // what came late is still to be loaded
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
    const std::optional<PenPlaces> pen = PenPlaces::look();
    if (!pen || !ElementService::qnkFileExists(*pen, dropped.elementId)) {
        writeLog(u"Will delete meta file for "_s + dropped.elementId
                 + u" since it was canceled and had no qnk on pen."_s);
        ElementService::deleteElement(dropped.elementId);
    }
    reloadQueueTable();
}

void DownloadWindowController::dropRow(UpdateElement &row)
{
    cancelRow(row);
    m_run->addDroppedRow();
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
