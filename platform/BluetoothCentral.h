#pragma once

#include "platform/CentralManager.h"
#include "platform/RadioWatcher.h"

#include <QHash>
#include <QSet>

#include <functional>
#include <memory>

class BluetoothPeripheral;
class QBluetoothDeviceDiscoveryAgent;
class QBluetoothDeviceInfo;

/// The radio through the Bluetooth module, and a watcher for what that does not tell. The module's
/// objects are made for a scan or a connection only: making this costs nothing and waits for
/// nobody. It sets an environment variable, so make it before there are other threads.
class BluetoothCentral : public CentralManager
{
    Q_OBJECT

public:
    /// `bus` is the one that the radio is watched on; the module itself knows the system's only.
    explicit BluetoothCentral(const QDBusConnection &bus = QDBusConnection::systemBus(),
                              const RadioPatience &patience = {}, QObject *parent = nullptr);
    ~BluetoothCentral() override;

    [[nodiscard]] State state() const override { return m_watcher.state(); }
    void scanForPeripherals() override;
    void stopScan() override;
    void connectPeripheral(const PeripheralPtr &peripheral) override;
    void cancelPeripheralConnection(const PeripheralPtr &peripheral) override;

private:
    using Known = std::shared_ptr<BluetoothPeripheral>;

    void stateChanged();
    void startAgent(int scan);
    void heard(const QBluetoothDeviceInfo &info);
    void report(const Known &peripheral);
    [[nodiscard]] Known known(const PeripheralPtr &peripheral) const;
    [[nodiscard]] Known peripheralFor(const QBluetoothDeviceInfo &info);
    void listenTo(BluetoothPeripheral &peripheral);
    void ended(const Known &peripheral, bool wasConnected, const QString &error);
    void later(const std::function<void()> &work);

    const RadioPatience m_patience;
    RadioWatcher m_watcher;
    QHash<QString, Known> m_peripherals; ///< by identifier, for good
    std::unique_ptr<QBluetoothDeviceDiscoveryAgent> m_agent;
    QSet<QString> m_heard; ///< in this scan
    int m_scans = 0;       ///< what belongs to an earlier one is not heard any more
    bool m_scanning = false;
};
