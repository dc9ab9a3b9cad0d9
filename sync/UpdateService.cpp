#include "sync/UpdateService.h"

#include "base/ApplicationLog.h"
#include "download/DownloadFileService.h"
#include "download/DownloadWindowController.h"
#include "download/LibraryReloading.h"
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
#include "sync/UpdateRun.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// Work that keeps the group waiting for as long as it is waited for itself, done or dropped.
std::function<void()> inGroup(DispatchGroup group)
{
    group.enter();
    const std::shared_ptr<void> waited(nullptr, [group](void *) mutable { group.leave(); });
    return [waited] {
    };
}

/// Sweeps what interrupted placements left on the pen.
void removeLeftovers(const PenPlaces &pen)
{
    for (const QUrl &folder : {pen.book(), pen.configure()})
        FileManager::removeLeftovers(pathOf(folder));
}

} // namespace

UpdateService::UpdateService(LibraryReloading &viewController, QObject *parent)
    : QObject(parent)
    , m_downloadWindowController(std::make_unique<DownloadWindowController>())
    , m_viewController(viewController)
{
    m_downloadWindowController->setViewController(&viewController);
    connect(
        m_downloadWindowController.get(), &DownloadWindowController::titleDropped, this,
        [](const QString &mid) { ElementUpdateService::forgetRequests(PenPlaces::look(), {mid}); });
    NotificationCenter::defaultCenter().addObserver(
        QueueWindow::titlesDeleted, this, [this](const QVariantMap &userInfo) {
            titlesDeleted(userInfo.value(QueueWindow::elementIdsKey).toStringList());
        });
}

UpdateService::~UpdateService()
{
    m_penGone.request_stop();
}

DownloadWindowController &UpdateService::downloadWindowController()
{
    return *m_downloadWindowController;
}

bool UpdateService::isRunning() const
{
    return m_run && m_run->isUnderWay();
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
    const std::optional<PenPlaces> pen = UsbService::connectedPen();
    if (!pen) {
        debugPrint(u"Quillo is not connected. Skipping updateAll()"_s);
        writeLog(u"updateAll return"_s);
        return;
    }
    beginRun(*pen);
    LogPostService::postLogFIleMidsToServer(m_penGone.get_token());
    writeLog(u"updateAll nach postLogFIleMidsToServer"_s);
    m_run->checkSoftware();
    writeLog(u"updateAll nach versionService.perform"_s);
    m_run->fetchCatalogue();
    m_viewController.loadData();
    writeLog(u"updateAll nach loadData"_s);
    writeLog(u"updateAll Ende"_s);
}

void UpdateService::beginRun(const PenPlaces &pen)
{
    m_run.reset();
    m_run = std::make_unique<UpdateRun>(UpdateRun::Surroundings{
        *m_downloadWindowController, m_viewController, m_kept, *this, pen, softwarePatience});
    connect(m_run.get(), &UpdateRun::ended, this, &UpdateService::finishRun);
    removeLeftovers(pen);
}

void UpdateService::titlesDeleted(const QStringList &elementIds)
{
    QSet<QString> mids;
    for (const QString &id : elementIds)
        mids += PenTitles::midOf(id);
    ElementUpdateService::forgetRequests(PenPlaces::look(), mids);
    if (m_run)
        m_run->titlesDeleted(elementIds);
}

void UpdateService::penRemoved()
{
    forgetPen();
    m_runRequested = false;
    if (isRunning())
        m_downloadWindowController->interrupt(RunPhase::PenRemoved);
    else
        m_downloadWindowController->explainFailedCopy();
}

void UpdateService::releasePen(std::function<void()> done)
{
    m_isPenReleased = true;
    m_runRequested = false;
    forgetPen();
    if (isRunning())
        m_downloadWindowController->interrupt(RunPhase::Stopped);
    DispatchGroup writers;
    for (DownloadFileService *retired : findChildren<DownloadFileService *>())
        retired->whenAtRest(inGroup(writers));
    if (m_run)
        m_run->whenAtRest(inGroup(writers));
    sharedSession().async(inGroup(writers)); // covers and the usage log
    writers.notify(this, std::move(done));
}

/// Nothing on its way, of an ended run either, reaches the pen any more.
void UpdateService::forgetPen()
{
    if (m_run)
        m_run->stop();
    m_penGone.request_stop();
    m_penGone = std::stop_source();
}

void UpdateService::finishRun()
{
    Q_EMIT runEnded();
    if (std::exchange(m_runRequested, false))
        Dispatch::main(this, [this] { updateAll(); });
}
