#pragma once

#include "base/Localization.h"
#include "bluetooth/BluetoothServiceDelegate.h"

#include <QIcon>
#include <QSet>
#include <QWidget>

class QComboBox;
class QLabel;
class QProgressBar;
class QPushButton;
class WebView;

/// Plays the videos that the pen points at, and links the pen over Bluetooth. Other addresses of
/// the web that the pen sends go to the browser; what is none is dropped. Main thread only.
class VideosController : public QWidget, public LanguageHandling, private BluetoothServiceDelegate
{
    Q_OBJECT

public:
    /// See setBluetoothService().
    explicit VideosController(BluetoothService *service, QWidget *parent = nullptr);
    ~VideosController() override;

    /// Makes this view the service's delegate; null for none. The service must outlive the view,
    /// which takes itself out unless another has taken its place meanwhile.
    void setBluetoothService(BluetoothService *service);

    /// Fills the view: once, by the constructor.
    void viewDidLoad();
    void connectionButtonAction();
    void quillosComboBoxAction(int index);

    void languageChanged() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

    // Outlets.
    WebView *webView = nullptr;
    QLabel *explanationLabel = nullptr;
    QLabel *connectionLabel = nullptr;
    QLabel *pleaseChooseLabel = nullptr;
    QComboBox *quillosComboBox = nullptr;
    QPushButton *connectionButton = nullptr;

    const QIcon imageConnected;
    const QIcon imageDisconnected;
    BluetoothService *bluetoothService = nullptr; ///< set by setBluetoothService()
    std::function<void(int)> selectionHandler;

private:
    void connectionChanged(BluetoothService &service, bool connected) override;
    void isScanning(BluetoothService &service, bool scanning) override;
    void showMessage(BluetoothService &service, const QString &key) override;
    void didReceiveURL(BluetoothService &service, const std::optional<QUrl> &url) override;
    void foundPens(BluetoothService &service, const QStringList &names,
                   const std::function<void(int)> &selection) override;

    void loadOutlets();
    void leaveBluetoothService();
    void showConnection(bool connected);
    void showServiceState();
    void showState(const QString &key);
    void showChooser(bool shown);
    void showTexts();
    void loadDemonstrationVideo();
    void playVideo(const QUrl &address);

    QProgressBar *m_scanningBar = nullptr;
    QString m_stateKey; ///< what `connectionLabel` says
    QSet<QString> m_openMessages;
};
