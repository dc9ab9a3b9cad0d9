#include "bluetooth/VideosController.h"

#include "base/AlertBox.h"
#include "base/ApplicationLog.h"
#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "base/ImageView.h"
#include "base/ViewColors.h"
#include "bluetooth/BluetoothService.h"
#include "pen/URLFactory.h"
#include "platform/StandardOutput.h"
#include "platform/WebView.h"
#include "platform/Workspace.h"

#include "ui_VideosController.h"

#include <QKeyEvent>

using namespace Qt::StringLiterals;

namespace {

/// Whether a key would change a closed chooser, and so connect to a pen on the way to another.
bool changesChooser(const QKeyEvent &event)
{
    switch (event.key()) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
    case Qt::Key_Escape:
        return false;
    default:
        return (event.modifiers() & (Qt::ControlModifier | Qt::AltModifier)) == 0;
    }
}

QString encoded(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

} // namespace

VideosController::VideosController(BluetoothService *service, QWidget *parent)
    : QWidget(parent)
    , imageConnected(shippedIcon(u"quilo_bluetooth_connected"_s))
    , imageDisconnected(shippedIcon(u"quilo_bluetooth_disconnected"_s))
{
    loadOutlets();
    setBluetoothService(service);
    viewDidLoad();
}

VideosController::~VideosController()
{
    leaveBluetoothService();
}

void VideosController::setBluetoothService(BluetoothService *service)
{
    leaveBluetoothService();
    bluetoothService = service;
    if (bluetoothService)
        bluetoothService->delegate = this;
}

void VideosController::leaveBluetoothService()
{
    if (bluetoothService && bluetoothService->delegate == this)
        bluetoothService->delegate = nullptr;
}

// The view.

void VideosController::loadOutlets()
{
    Ui::VideosController outlets;
    outlets.setupUi(this);
    webView = outlets.webView;
    explanationLabel = outlets.explanationLabel;
    connectionLabel = outlets.connectionLabel;
    pleaseChooseLabel = outlets.pleaseChooseLabel;
    quillosComboBox = outlets.quillosComboBox;
    connectionButton = outlets.connectionButton;
    m_scanningBar = outlets.scanningBar;
    // The page keeps its place while the pen is looked for.
    QSizePolicy keeping = m_scanningBar->sizePolicy();
    keeping.setRetainSizeWhenHidden(true);
    m_scanningBar->setSizePolicy(keeping);
    quillosComboBox->installEventFilter(this);
    connect(connectionButton, &QPushButton::clicked, this,
            &VideosController::connectionButtonAction);
    connect(webView, &WebView::tryAgain, webView, &WebView::reload);
    connect(quillosComboBox, &QComboBox::activated, this, &VideosController::quillosComboBoxAction);
    setFocusProxy(connectionButton);
}

void VideosController::viewDidLoad()
{
    setPalette(contentPalette());
    for (QLabel *label : {explanationLabel, connectionLabel, pleaseChooseLabel})
        setColor(*label, QPalette::WindowText, ColorConstants::mainColor());
    setColor(*m_scanningBar, QPalette::Highlight, ColorConstants::mainColor());
    showTexts();
    showState(u"bluetooth_disconnected"_s);
    showServiceState();
    loadDemonstrationVideo();
    showChooser(false);
}

void VideosController::showTexts()
{
    explanationLabel->setText(localized(u"video_explanation_title"_s));
    pleaseChooseLabel->setText(localized(u"please_choose"_s));
    quillosComboBox->setAccessibleName(localized(u"please_choose"_s));
    quillosComboBox->setPlaceholderText(localized(u"choose_pen"_s));
    connectionButton->setAccessibleName(localized(u"bluetooth_button"_s));
    connectionButton->setToolTip(localized(u"bluetooth_button"_s));
    m_scanningBar->setAccessibleName(localized(u"bluetooth_scanning"_s));
    webView->setAccessibleName(localized(u"video"_s));
    webView->setTexts({.unavailable = localized(u"video_unavailable"_s),
                       .tryAgain = localized(u"try_again"_s),
                       .openInBrowser = localized(u"open_in_browser"_s)});
}

void VideosController::languageChanged()
{
    showTexts();
    showState(m_stateKey);
}

void VideosController::showConnection(bool connected)
{
    showState(connected ? u"bluetooth_connected"_s : u"bluetooth_disconnected"_s);
    connectionButton->setIcon(connected ? imageConnected : imageDisconnected);
    if (connected)
        showChooser(false);
}

/// As the service stands: a view that comes back during a scan says so.
void VideosController::showServiceState()
{
    showConnection(bluetoothService && bluetoothService->connected());
    if (bluetoothService && bluetoothService->scanning())
        showState(u"bluetooth_scanning"_s);
}

void VideosController::showState(const QString &key)
{
    m_stateKey = key;
    connectionLabel->setText(localized(key));
    connectionButton->setAccessibleDescription(connectionLabel->text());
    m_scanningBar->setVisible(key == "bluetooth_scanning"_L1);
}

void VideosController::showChooser(bool shown)
{
    pleaseChooseLabel->setVisible(shown);
    if (!shown && quillosComboBox->hasFocus())
        connectionButton->setFocus();
    quillosComboBox->setVisible(shown);
}

void VideosController::connectionButtonAction()
{
    if (!bluetoothService)
        return;
    if (bluetoothService->connected())
        bluetoothService->disconnect();
    else
        bluetoothService->startScan();
}

void VideosController::quillosComboBoxAction(int index)
{
    if (selectionHandler)
        selectionHandler(index);
}

/// Pens are chosen from the open list alone: each change of a closed one would count as a choice.
bool VideosController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == quillosComboBox && event->type() == QEvent::Wheel)
        return true;
    if (watched == quillosComboBox && event->type() == QEvent::KeyPress
        && changesChooser(*static_cast<QKeyEvent *>(event))) {
        quillosComboBox->showPopup();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

// Videos.

void VideosController::loadDemonstrationVideo()
{
    const QString key = URLFactory::dummyVideoKey;
    if (const std::optional<QString> address = URLFactory::getServerValue(key))
        playVideo(QUrl(*address, QUrl::StrictMode));
    else
        debugPrint(u"No address of a demonstration video"_s);
}

void VideosController::playVideo(const QUrl &address)
{
    if (isWebAddress(address))
        webView->loadHTML(URLFactory::getVideoHTML(encoded(address)), address);
    else
        debugPrint(u"Not an address of the web, not played: "_s + encoded(address));
}

// What the service tells.

void VideosController::connectionChanged(BluetoothService &, bool connected)
{
    showConnection(connected);
}

void VideosController::isScanning(BluetoothService &, bool scanning)
{
    if (scanning)
        showState(u"bluetooth_scanning"_s);
    else
        showConnection(bluetoothService && bluetoothService->connected());
}

void VideosController::showMessage(BluetoothService &, const QString &key)
{
    // What stands on the screen still is not said again.
    if (m_openMessages.contains(key))
        return;
    m_openMessages.insert(key);
    const auto make = [key] {
        return Alert{.windowTitle = localized(u"videos"_s),
                     .messageText = localized(key),
                     .informativeText = localized(key),
                     .buttons = {localized(u"ok"_s)}};
    };
    AlertBox::present(make, *this, [this, key](bool) { m_openMessages.remove(key); });
}

void VideosController::didReceiveURL(BluetoothService &, const std::optional<QUrl> &url)
{
    if (!url) {
        loadDemonstrationVideo();
        return;
    }
    QString text = encoded(*url);
    if (text.endsWith(u".mp4"_s)) {
        writeLog(u"Video url found "_s + text);
        playVideo(QUrl(text.replace(u"%3A"_s, u":"_s), QUrl::StrictMode));
    } else if (isWebAddress(*url)) {
        Workspace::open(*url);
    } else {
        debugPrint(u"Not an address of the web, not opened: "_s + text);
    }
}

void VideosController::foundPens(BluetoothService &, const QStringList &names,
                                 const std::function<void(int)> &selection)
{
    selectionHandler = selection;
    quillosComboBox->clear();
    if (names.size() > 1) {
        quillosComboBox->addItems(names);
        quillosComboBox->setCurrentIndex(-1);
    }
    showChooser(names.size() > 1);
}
