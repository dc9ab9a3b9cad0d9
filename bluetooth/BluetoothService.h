#pragma once

#include "bluetooth/AddressAssembler.h"
#include "platform/CentralManager.h"

#include <QTimer>

#include <chrono>

class BluetoothServiceDelegate;

/// The radio link to the pen: finds it, connects to it and hands on the addresses that it sends. A
/// scan begins only when it is asked for. Nothing is ever written to the pen. Main thread only.
class BluetoothService : private CentralManagerDelegate, private PeripheralDelegate
{
public:
    /// The radio must outlive the service.
    explicit BluetoothService(CentralManager &centralManager);
    ~BluetoothService() override;

    /// Looks for pens and connects to the one that is there, to the one that the person chooses, or
    /// to the one known from before. While it looks, nothing happens.
    void startScan();
    /// Ends the connection, or the attempt to connect.
    void disconnect();

    [[nodiscard]] bool connected() const { return m_connected; }
    [[nodiscard]] bool scanning() const { return m_scanTimer.isActive(); }
    /// The pens of all scans since the last disconnection.
    [[nodiscard]] const QList<PeripheralPtr> &foundQuillos() const { return m_foundQuillos; }
    /// The pen that is connected or being connected to; null for none.
    [[nodiscard]] const PeripheralPtr &quilloPeripheral() const { return m_quilloPeripheral; }

    std::chrono::milliseconds scanDuration{3000}; ///< of the scans to come
    BluetoothServiceDelegate *delegate = nullptr; ///< it takes itself out when it goes

    static const QString quilloName; ///< the name that a pen must advertise, in this letter case
    static const QUuid serviceUUID;
    static const QUuid characteristicUUID;

private:
    void didUpdateState(CentralManager &manager) override;
    void didDiscover(const PeripheralPtr &peripheral,
                     const std::optional<QString> &localName) override;
    void didConnect(const PeripheralPtr &peripheral) override;
    void didFailToConnect(const PeripheralPtr &peripheral, const QString &error) override;
    void didDisconnect(const PeripheralPtr &peripheral,
                       const std::optional<QString> &error) override;

    void didDiscoverServices(Peripheral &peripheral, const std::optional<QString> &error) override;
    void didDiscoverCharacteristics(Peripheral &peripheral, const QUuid &service,
                                    const std::optional<QString> &error) override;
    void didUpdateValue(Peripheral &peripheral, const QUuid &characteristic,
                        const QByteArray &value, const std::optional<QString> &error) override;

    void scanEnded();
    void connectToFound(const QList<PeripheralPtr> &found);
    void connectToKnown();
    void connectTo(const PeripheralPtr &peripheral);
    void letChoose(const QList<PeripheralPtr> &found);
    void giveUpAddress();
    void takePiece(const QString &piece, bool last);
    void finishAddress();
    void setConnected(bool connected);
    void showMessage(const QString &key);

    CentralManager &m_centralManager;
    QTimer m_scanTimer;
    QList<PeripheralPtr> m_foundQuillos;
    PeripheralPtr m_quilloPeripheral;
    AddressAssembler m_assembler;
    bool m_connected = false;
};
