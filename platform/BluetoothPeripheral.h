#pragma once

#include "platform/Peripheral.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

class QBluetoothDeviceInfo;
class QLowEnergyController;
class QLowEnergyService;
class RadioWatcher;

/// A device of the Bluetooth module and the connection to it, one at a time. What the module tells
/// is heard from the event loop only, so that a connection may be taken apart whenever it is
/// heard of. Main thread only.
class BluetoothPeripheral : public QObject, public Peripheral
{
    Q_OBJECT

public:
    BluetoothPeripheral(const QString &identifier, const QBluetoothDeviceInfo &info);
    ~BluetoothPeripheral() override;

    /// What was last heard of it.
    void setInfo(const QBluetoothDeviceInfo &info);
    [[nodiscard]] const QBluetoothDeviceInfo &info() const { return *m_info; }
    void setName(const QString &name) { m_name = name; }

    /// Connects over the adapter that is on. Ends with connected() and, if it is not subscribed to
    /// within `patience` from now, or whatever else befalls it, with ended().
    void connectDevice(RadioWatcher &radio, std::chrono::milliseconds patience);
    /// Takes the connection or the attempt apart; nothing more is told of it. False without one.
    bool drop();
    /// drop(), and ended() if there was something.
    void end(const QString &error);
    [[nodiscard]] bool isConnecting() const { return m_attempt && !m_connected; }
    [[nodiscard]] bool isConnected() const { return m_connected; }

    [[nodiscard]] QString name() const override { return m_name; }
    [[nodiscard]] QString identifier() const override { return m_identifier; }
    void discoverServices() override;
    [[nodiscard]] QList<QUuid> services() const override;
    void discoverCharacteristics(const QUuid &service) override;
    [[nodiscard]] QList<QUuid> characteristics(const QUuid &service) const override;
    void subscribe(const QUuid &characteristic) override;

Q_SIGNALS:
    void connected();
    /// Whether it had been connected, and why it is not any more or could not be.
    void ended(bool wasConnected, const QString &error);

private:
    /// Tells one attempt from the next: what belongs to an earlier one is not done any more.
    using Attempt = std::shared_ptr<int>;

    void openController(RadioWatcher &radio);
    void listenTo(QLowEnergyController &controller);
    void listenTo(QLowEnergyService &service, const QUuid &uuid);
    void servicesKnown();
    void detailsKnown(const QUuid &service, const std::optional<QString> &error);
    void subscriptionFailed(const QUuid &characteristic, const QString &error);
    void lost(const QString &error);
    /// `work` for a signal's connection: not done once the attempt of now is over.
    template <typename Work>
    [[nodiscard]] auto whileConnected(Work work);
    void later(const std::function<void()> &work);

    const QString m_identifier;
    QString m_name;
    std::unique_ptr<QBluetoothDeviceInfo> m_info;
    Attempt m_attempt; ///< null without a connection
    bool m_connected = false;
    QPointer<RadioWatcher> m_radio;
    std::unique_ptr<QLowEnergyController> m_controller;
    QHash<QUuid, QLowEnergyService *> m_services; ///< those asked for their characteristics
    QTimer m_watchdog;
};
