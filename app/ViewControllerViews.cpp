#include "app/ViewController.h"

#include "app/NavCollectionView.h"
#include "app/NavigationViewController.h"
#include "base/ApplicationLog.h"
#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "base/EmptyStateView.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "base/ViewPlacement.h"
#include "download/DownloadWindow.h"
#include "download/DownloadWindowController.h"
#include "library/SearchViewController.h"
#include "pen/NavStorageItem.h"
#include "sync/UpdateService.h"
#include "ui/DeleteViewController.h"
#include "ui/HeaderBar.h"
#include "ui/HeaderViewController.h"
#include "ui/LanguageViewController.h"

#include "ui_Main.h"

#include <QAccessible>
#include <QLineEdit>

#include <array>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// What the main window's controller does to its views: outlets, colours, texts, sub-views.

namespace {

constexpr QRect startFrame(0, 0, 1440, 790);
constexpr auto messageDuration = 20s;

} // namespace

void ViewController::loadOutlets()
{
    Ui::Main outlets;
    outlets.setupUi(this);
    headerView = outlets.headerView;
    deleteViewContainer = outlets.deleteViewContainer;
    searchViewContainer = outlets.searchViewContainer;
    languageContainer = outlets.languageContainer;
    navigationViewContainer = outlets.navigationViewContainer;
    contentView = outlets.contentView;
    mainContentView = outlets.mainContentView;
    storageMiniView = outlets.storageMiniView;
    usbConnectionImageBtn = outlets.usbConnectionImageBtn;
    m_header = outlets.header;
    m_messageLine = outlets.messageLine;
    headerViewController = new HeaderViewController(headerView);
    deleteViewController = new DeleteViewController(deleteViewContainer);
    searchViewController = new SearchViewController(searchViewContainer);
    languageViewController = new LanguageViewController(languageContainer);
    navigationViewController = new NavigationViewController(*this, navigationViewContainer);
    setTabOrders();
    m_messageTimer.setSingleShot(true);
    connect(&m_messageTimer, &QTimer::timeout, this, &ViewController::hideMessage);
    connect(usbConnectionImageBtn, &QToolButton::clicked, this, &ViewController::ejectQuillo);
}

/// As the eye goes: along the header, down the sidebar, into the content.
void ViewController::setTabOrders()
{
    const std::array<QWidget *, 7> order{
        searchViewController->searchField,          languageViewController->germanButton,
        languageViewController->englishButton,      deleteViewController->deleteButton,
        deleteViewController->menuButton,           usbConnectionImageBtn,
        navigationViewController->navCollectionView};
    for (size_t i = 1; i < order.size(); ++i)
        setTabOrder(order.at(i - 1), order.at(i));
}

void ViewController::setFrame()
{
    if (window() == this)
        return;
    window()->setGeometry(startFrame);
    window()->update();
}

void ViewController::prepareBaseViews()
{
    writeLog(u"prepareBaseViews Beginn"_s);
    setBackgroundColor(*navigationViewContainer->parentWidget(), ColorConstants::mainColor());
    setBackgroundColor(*navigationViewContainer, ColorConstants::mainColor());
    writeLog(u"prepareBaseViews nach navigationViewContainer backgroundColor"_s);
    contentView->setPalette(contentPalette());
    setBackgroundColor(*contentView, Qt::white);
    setBackgroundColor(*m_messageLine, ColorConstants::messageColor());
    writeLog(u"prepareBaseViews nach contentView backgroundColor"_s);
    writeLog(u"prepareBaseView Ende"_s);
}

void ViewController::initSubViews()
{
    writeLog(u"initSubViews Beginn"_s);
    initHeaderView();
    writeLog(u"initSubViews nach initHeaderView"_s);
    initDeleteView();
    writeLog(u"initSubViews nach initDeleteView"_s);
    initSearchView();
    writeLog(u"initSubViews nach initSearchView"_s);
    initLanguageView();
    writeLog(u"initSubViews nach initLanguageView"_s);
    initNavView();
    writeLog(u"initSubViews nach initNavView"_s);
    writeLog(u"initSubViews Ende"_s);
}

void ViewController::initHeaderView()
{
    writeLog(u"initHeaderView Beginn"_s);
    pinEdges(*headerViewController, *headerView);
    usbConnectionImageBtn->setIcon(shippedIcon(u"pen_button"_s));
    updateTexts();
    writeLog(u"initHeaderView Ende"_s);
}

void ViewController::initDeleteView()
{
    writeLog(u"initDeleteView Beginn"_s);
    deleteViewController->viewController = this;
    pinEdges(*deleteViewController, *deleteViewContainer);
    deleteViewController->addDeleteKey(*mainContentView);
    connect(navigationViewController, &NavigationViewController::contentChanged,
            deleteViewController, &DeleteViewController::updateDeleteButton);
    writeLog(u"initDeleteView Ende"_s);
}

void ViewController::initSearchView()
{
    writeLog(u"initSearchView Beginn"_s);
    searchViewController->viewController = this;
    pinEdges(*searchViewController, *searchViewContainer);
    connect(navigationViewController, &NavigationViewController::contentChanged,
            searchViewController, &SearchViewController::endPause);
    writeLog(u"initSearchView Ende"_s);
}

void ViewController::initLanguageView()
{
    writeLog(u"initLanguageView Beginn"_s);
    languageViewController->viewController = this;
    pinEdges(*languageViewController, *languageContainer);
    m_header->setParts(*headerViewController, *languageContainer);
    writeLog(u"initLanguageView Ende"_s);
}

void ViewController::initNavView()
{
    writeLog(u"initNavView Beginn"_s);
    addContentFactories();
    pinEdges(*navigationViewController, *navigationViewContainer);
    navigationViewController->viewDidLoad();
    writeLog(u"initNavView Ende"_s);
}

void ViewController::makeDownloadWindow()
{
    m_downloadWindow = new DownloadWindow(updateService->downloadWindowController(), m_coverCache,
                                          m_soundPlayer, window());
}

void ViewController::languageChanged()
{
    navigationViewController->reloadNavigation();
    if (auto *shown = navigationViewController->activeContent<LanguageHandling>())
        shown->languageChanged();
    updateStorageGauge();
    headerViewController->setTitle();
    searchViewController->updateTexts();
    loadData();
    deleteViewController->rebuildMenus();
    updateTexts();
}

/// Those that belong to the window itself.
void ViewController::updateTexts()
{
    window()->setWindowTitle(localized(u"window_title"_s));
    usbConnectionImageBtn->setAccessibleName(localized(u"pen_button"_s));
    usbConnectionImageBtn->setToolTip(localized(u"usb_eject_warning"_s));
    if (m_noPenView)
        m_noPenView->languageChanged();
    m_downloadWindow->updateTexts();
    if (m_message)
        m_messageLine->setText(m_message());
}

void ViewController::showMessage(const std::function<QString()> &text)
{
    m_message = text;
    m_messageLine->setText(text());
    m_messageLine->show();
    m_messageTimer.start(messageDuration);
    QAccessibleEvent event(m_messageLine, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void ViewController::hideMessage()
{
    m_message = {};
    m_messageLine->hide();
}

void ViewController::updateStorageGauge()
{
    if (NavStorageItem::current)
        NavStorageItem::current->updateValues();
}
