#include "app/ViewController.h"

#include "app/NavigationViewController.h"
#include "base/ApplicationLog.h"
#include "base/Localization.h"
#include "download/DownloadWindow.h"
#include "download/DownloadWindowController.h"
#include "library/CategoryControllers.h"
#include "library/ElementService.h"
#include "library/LibraryLists.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Dispatch.h"
#include "platform/StandardOutput.h"
#include "sync/UpdateService.h"
#include "ui/DeleteViewController.h"

#include <QCoreApplication>
#include <QEvent>
#include <QShowEvent>
#include <QToolButton>

using namespace Qt::StringLiterals;

ViewController::ViewController(VolumeSource &volumes, QWidget *parent)
    : QWidget(parent)
    , m_workspace(volumes)
{
    loadOutlets();
    m_ejecting.setSingleShot(true);
    connect(&m_ejecting, &QTimer::timeout, this,
            [this] { ejectEnded(localized(u"eject_no_answer"_s)); });
}

ViewController::~ViewController()
{
    delete m_downloadWindow;
}

void ViewController::viewDidLoad()
{
    writeLog(u"viewDidLoad Beginn"_s);
    writeLog(u"viewDidLoad nach super.viewDidLoad"_s);
    updateService = std::make_unique<UpdateService>(*this);
    makeDownloadWindow();
    writeLog(u"viewDidLoad nach updateService"_s);
    setFrame();
    writeLog(u"viewDidLoad nach setFrame"_s);
    prepareBaseViews();
    writeLog(u"viewDidLoad nach prepareBaseViews"_s);
    setIsQuilloAvailable(UsbService::isQuilloConnected());
    writeLog(u"viewDidLoad isQuilloAvailable: "_s + (m_isQuilloAvailable ? u"true"_s : u"false"_s));
    loadData();
    writeLog(u"viewDidLoad nach loadData"_s);
    initSubViews();
    writeLog(u"viewDidLoad nach initSubViews"_s);
    addMountDetector();
    writeLog(u"viewDidLoad nach addMountDetector"_s);
    writeLog(u"viewDidLoad Ende"_s);
}

void ViewController::viewDidAppear()
{
    writeLog(u"viewDidAppear Beginn"_s);
    writeLog(u"viewDidAppear nach super.viewDidAppear"_s);
    window()->installEventFilter(this);
    writeLog(u"viewDidAppear nach delegate"_s);
    window()->setWindowTitle(localized(u"window_title"_s));
    writeLog(u"viewDidAppear nach title"_s);
    showBooksView();
    navigationViewController->setFocus();
    writeLog(u"viewDidAppear nach showBooksView"_s);
    updateService->updateAll();
    writeLog(u"viewDidAppear nach updateAll"_s);
    if (myBooksController)
        myBooksController->libraryChanged();
    writeLog(u"viewDidAppear nach reloadData"_s);
    writeLog(u"viewDidAppear Ende"_s);
}

void ViewController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The window is on the screen first, before the work of an update run.
    if (!event->spontaneous())
        Dispatch::main(this, [this] { viewDidAppear(); });
}

bool ViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == window() && event->type() == QEvent::Close)
        event->setAccepted(windowShouldClose());
    return QWidget::eventFilter(watched, event);
}

bool ViewController::windowShouldClose()
{
    // Not quit(), which would ask every window once more.
    QCoreApplication::exit(0);
    return true;
}

void ViewController::loadData()
{
    writeLog(u"loadData Beginn"_s);
    usbConnectionImageBtn->setToolTip(localized(u"usb_eject_warning"_s));
    writeLog(u"loadData nach toolTip"_s);
    loadMusic();
    writeLog(u"loadData nach DispatchQueue"_s);
    getBaseElementsFromPen();
    writeLog(u"loadData nach getElementsFromPen"_s);
    updateStorageGauge();
    writeLog(u"loadData nach updateValues"_s);
    writeLog(u"loadData Ende"_s);
}

void ViewController::loadMusic()
{
    const int load = ++m_musicLoad;
    Dispatch::global([this, load, guard = QPointer<QObject>(this), list = getMusicFromPen] {
        writeLog(u"loadData in DispatchQueue"_s);
        std::optional<MusicList> music;
        if (list)
            music = list();
        writeLog(u"loadData nach getMusicFromPen"_s);
        if (music)
            Dispatch::main(guard, [this, load, music = *music] { musicLoaded(load, music); });
    });
}

void ViewController::musicLoaded(int load, const MusicList &music)
{
    if (load != m_musicLoad)
        return;
    musicList() = music;
    libraryChanged();
}

void ViewController::getBaseElementsFromPen()
{
    writeLog(u"getBaseElementsFromPen Beginn"_s);
    const PenLibrary library = ElementService::getQuilloFilesInfoFromPen();
    bookList() = library.books;
    gameList() = library.games;
    learningMaterialList() = library.learningMaterials;
    archiveList() = library.archives;
    libraryChanged();
    writeLog(u"getBaseElementsFromPen nach getBookAndGameListFromPen"_s);
    writeLog(u"getBaseElementsFromPen Ende"_s);
}

void ViewController::setIsQuilloAvailable(bool available)
{
    m_isQuilloAvailable = available;
    setUsbControlsEnabled(available);
    if (available)
        quilloName = UsbService::getQuilloName();
}

void ViewController::setUsbControlsEnabled(bool enabled)
{
    usbConnectionImageBtn->setEnabled(enabled && !m_ejecting.isActive());
    deleteViewController->updateDeleteButton();
}

void ViewController::setViewMode(ViewMode mode)
{
    m_viewMode = mode;
    navigationViewController->setViewMode(mode);
}

void ViewController::toggleViewMode()
{
    setViewMode(toggled(m_viewMode));
}

void ViewController::addMountDetector()
{
    writeLog(u"addMountDetector Beginn"_s);
    connect(&m_workspace, &Workspace::didMount, this, &ViewController::didMount);
    connect(&m_workspace, &Workspace::didUnmount, this, &ViewController::didUnMount);
    writeLog(u"addMountDetector Ende"_s);
}

void ViewController::didMount(const QVariantMap &userInfo)
{
    writeLog(u"didMount Beginn"_s);
    const QVariant name = userInfo.value(Workspace::volumeNameKey);
    if (name.typeId() != QMetaType::QString) {
        writeLog(u"didMount return"_s);
        return;
    }
    if (UsbService::canDeviceNameBeQuillo(name.toString())) {
        writeLog(u"didMount if canDeviceNameBeQuillo"_s);
        Dispatch::main(this, [this] { penMounted(); });
    }
    writeLog(u"didMount Ende"_s);
}

void ViewController::didUnMount(const QVariantMap &userInfo)
{
    writeLog(u"didUnMount Beginn"_s);
    const QVariant name = userInfo.value(Workspace::volumeNameKey);
    if (name.typeId() != QMetaType::QString) {
        writeLog(u"didUnMount return"_s);
        return;
    }
    if (UsbService::canDeviceNameBeQuillo(name.toString())) {
        writeLog(u"didUnMount if canDeviceNameBeQuillo"_s);
        Dispatch::main(this, [this, volume = name.toString()] {
            if (!isPenStillThere(volume))
                penUnmounted();
        });
    }
    writeLog(u"didUnMount Ende"_s);
}

void ViewController::penMounted()
{
    showMessage({});
    setIsQuilloAvailable(true);
    updateService->updateAll();
    showView(NavElementType::Books);
}

/// The name of another volume may pass for the pen's. Under the pen's own name nothing tells the
/// volume that went from one that has taken its place.
bool ViewController::isPenStillThere(const QString &unmounted) const
{
    return m_isQuilloAvailable && quilloName
           && unmounted != QUrl::fromPercentEncoding(quilloName->toUtf8())
           && UsbService::isMounted(*quilloName);
}

void ViewController::penUnmounted()
{
    // First of all, so that nothing of a run under way is written any more.
    updateService->penRemoved();
    ++m_musicLoad;
    showMessage({});
    clearLibraryLists();
    m_coverCache.clear();
    updateService->downloadWindowController().reloadQueueTable();
    setIsQuilloAvailable(false);
    resetAfterUnmount();
    updateStorageGauge();
    forgetEject();
}

DownloadWindow *ViewController::downloadWindow() const
{
    return m_downloadWindow;
}

void ViewController::ejectQuillo()
{
    const std::optional<QUrl> volume = URLFactory::getQuilloURL();
    if (!volume || m_ejecting.isActive())
        return;
    m_ejecting.start(ejectPatience);
    usbConnectionImageBtn->setEnabled(false);
    const QPointer<ViewController> guard = this;
    const auto answered = [guard, eject = ++m_eject](const QString &error) {
        if (guard && eject == guard->m_eject)
            guard->ejectEnded(error);
    };
    // A file that is just being loaded onto the pen would keep it busy.
    updateService->releasePen([this, url = *volume, answered, eject = m_eject] {
        if (eject == m_eject)
            m_workspace.unmountVolume(url, answered);
    });
}

void ViewController::ejectEnded(const QString &error)
{
    forgetEject();
    setUsbControlsEnabled(m_isQuilloAvailable);
    if (error.isEmpty())
        return;
    print(error);
    showMessage(localized(u"eject_failed"_s).replace(u"%@"_s, error));
}

void ViewController::forgetEject()
{
    m_ejecting.stop();
    ++m_eject;
    updateService->keepPen();
}
