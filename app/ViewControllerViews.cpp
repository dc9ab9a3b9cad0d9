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
#include "pen/NavStorageItem.h"
#include "sync/UpdateService.h"
#include "ui/DeleteViewController.h"

#include "ui_Main.h"

#include <QAccessible>

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
    m_logoImageView = outlets.logoImageView;
    m_titleLabel = outlets.titleLabel;
    m_messageLine = outlets.messageLine;
    deleteViewController = new DeleteViewController(deleteViewContainer);
    navigationViewController = new NavigationViewController(*this, navigationViewContainer);
    setTabOrder(deleteViewController->deleteButton, usbConnectionImageBtn);
    setTabOrder(usbConnectionImageBtn, navigationViewController->navCollectionView);
    m_messageTimer.setSingleShot(true);
    connect(&m_messageTimer, &QTimer::timeout, m_messageLine, &QWidget::hide);
    connect(usbConnectionImageBtn, &QToolButton::clicked, this, &ViewController::ejectQuillo);
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
    m_logoImageView->setImageName(u"quillo_quillo"_s);
    setColor(*m_titleLabel, QPalette::WindowText, ColorConstants::mainColor());
    usbConnectionImageBtn->setIcon(shippedIcon(u"pen_button"_s));
    updateTexts();
    writeLog(u"initHeaderView Ende"_s);
}

// The containers of the views below are empty as long as these do not exist.

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
    writeLog(u"initSearchView Ende"_s);
}

void ViewController::initLanguageView()
{
    writeLog(u"initLanguageView Beginn"_s);
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

void ViewController::updateTexts()
{
    window()->setWindowTitle(localized(u"window_title"_s));
    m_titleLabel->setText(localized(u"header_title"_s));
    usbConnectionImageBtn->setAccessibleName(localized(u"pen_button"_s));
    usbConnectionImageBtn->setToolTip(localized(u"usb_eject_warning"_s));
    deleteViewController->updateTexts();
    if (m_noPenView)
        m_noPenView->languageChanged();
    m_downloadWindow->updateTexts();
}

void ViewController::showMessage(const QString &text)
{
    m_messageLine->setText(text);
    m_messageLine->setVisible(!text.isEmpty());
    if (text.isEmpty())
        return;
    m_messageTimer.start(messageDuration);
    QAccessibleEvent event(m_messageLine, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
}

void ViewController::updateStorageGauge()
{
    if (NavStorageItem::current)
        NavStorageItem::current->updateValues();
}
