#include "app/ViewController.h"

#include "app/NavigationViewController.h"
#include "base/ApplicationLog.h"
#include "base/Localization.h"
#include "bluetooth/VideosController.h"
#include "download/DownloadWindow.h"
#include "download/DownloadWindowController.h"
#include "library/CategoryControllers.h"
#include "library/ElementService.h"
#include "library/LibraryLists.h"
#include "library/MusicView.h"
#include "library/SearchViewController.h"
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

ViewController::ViewController(const Hardware &hardware, QWidget *parent)
    : QWidget(parent)
    , bluetoothService(hardware.radio)
    , m_pen(hardware.volumes)
{
    loadOutlets();
    connect(&m_pen, &PenPresence::mounted, this, &ViewController::penMounted);
    connect(&m_pen, &PenPresence::unmounted, this, &ViewController::penUnmounted);
    connect(&m_pen, &PenPresence::ejectEnded, this, &ViewController::ejectEnded);
}

ViewController::~ViewController()
{
    delete m_downloadWindow;
    // The view that is shown, and those about to go, use what belongs to this object.
    delete navigationViewController;
    delete mainContentView;
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
    writeLog(u"viewDidLoad isQuilloAvailable: "_s + (isQuilloAvailable() ? u"true"_s : u"false"_s));
    loadData();
    writeLog(u"viewDidLoad nach loadData"_s);
    initSubViews();
    writeLog(u"viewDidLoad nach initSubViews"_s);
    m_pen.addMountDetector();
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
    libraryChanged();
    writeLog(u"loadData nach getElementsFromPen"_s);
    updateStorageGauge();
    writeLog(u"loadData nach updateValues"_s);
    writeLog(u"loadData Ende"_s);
}

void ViewController::loadMusic()
{
    musicService.load([this](const MusicList &music) { musicLoaded(music); });
}

void ViewController::musicLoaded(const MusicList &music)
{
    const bool isKnown = areEqual(musicList(), music);
    musicList() = music;
    // Titles are not filled anew for music that stays as it is.
    if (!isKnown)
        libraryChanged();
    else if (musicController)
        musicController->libraryChanged();
}

void ViewController::getBaseElementsFromPen()
{
    writeLog(u"getBaseElementsFromPen Beginn"_s);
    const PenLibrary library = ElementService::getQuilloFilesInfoFromPen();
    bookList() = library.books;
    gameList() = library.games;
    learningMaterialList() = library.learningMaterials;
    archiveList() = library.archives;
    writeLog(u"getBaseElementsFromPen nach getBookAndGameListFromPen"_s);
    writeLog(u"getBaseElementsFromPen Ende"_s);
}

void ViewController::setIsQuilloAvailable(bool available)
{
    m_pen.setAvailable(available);
    setUsbControlsEnabled(available);
}

void ViewController::setUsbControlsEnabled(bool enabled)
{
    usbConnectionImageBtn->setEnabled(enabled && !m_pen.isEjecting());
    deleteViewController->setChangeViewEnabled(enabled);
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

void ViewController::penMounted()
{
    hideMessage();
    setIsQuilloAvailable(true);
    updateService->updateAll();
    showView(NavElementType::Books);
}

void ViewController::penUnmounted()
{
    // First of all, so that nothing of a run under way is written any more.
    updateService->penRemoved();
    updateService->keepPen();
    musicService.forgetPen();
    hideMessage();
    searchViewController->clear();
    clearLibraryLists();
    m_coverCache.clear();
    updateService->downloadWindowController().reloadQueueTable();
    setIsQuilloAvailable(false);
    resetAfterUnmount();
    updateStorageGauge();
}

void ViewController::ejectQuillo()
{
    // A file that is just being loaded onto the pen, or read, would keep it busy.
    m_pen.eject([this](const std::function<void()> &released) {
        usbConnectionImageBtn->setEnabled(false);
        musicService.releasePen([this, released] { updateService->releasePen(released); });
    });
}

void ViewController::ejectEnded(const QString &error)
{
    updateService->keepPen();
    musicService.keepPen();
    setUsbControlsEnabled(isQuilloAvailable());
    if (error.isEmpty())
        return;
    print(error);
    showMessage([error] { return localized(u"eject_failed"_s).replace(u"%@"_s, error); });
}

DownloadWindow *ViewController::downloadWindow() const
{
    return m_downloadWindow;
}
