#pragma once

#include "platform/Peripheral.h"

#include <QObject>

class CentralManager;

/// Hears of the radio. Called on the main thread from the event loop, never from inside a call of
/// the manager. An error is a text for the log.
class CentralManagerDelegate
{
public:
    virtual ~CentralManagerDelegate() = default;

    virtual void didUpdateState(CentralManager &manager) = 0;
    /// A device was heard, or heard to have a name; may come more than once for one device.
    virtual void didDiscover(const PeripheralPtr &peripheral,
                             const std::optional<QString> &localName) = 0;
    virtual void didConnect(const PeripheralPtr &peripheral) = 0;
    virtual void didFailToConnect(const PeripheralPtr &peripheral, const QString &error) = 0;
    /// The error is absent when this program asked for the end of the connection.
    virtual void didDisconnect(const PeripheralPtr &peripheral,
                               const std::optional<QString> &error) = 0;
};

/// The computer's low energy radio, as the one that looks for devices and connects to them. The
/// back end is chosen once at start-up. Main thread only.
class CentralManager : public QObject
{
    Q_OBJECT

public:
    enum class State { unknown, resetting, unsupported, unauthorized, poweredOff, poweredOn };
    Q_ENUM(State)

    using QObject::QObject;

    [[nodiscard]] virtual State state() const = 0;

    /// Listens for devices of every kind until stopScan(), or until the radio goes off. Nothing
    /// happens unless it is powered on, or when it listens already.
    virtual void scanForPeripherals() = 0;
    virtual void stopScan() = 0;

    /// Answered by didConnect() or, within ten seconds, didFailToConnect(); one that is connected
    /// already answers didConnect(). When the radio goes off every connection ends with an error,
    /// after didUpdateState(); so does one that is subscribed to nothing within those ten seconds.
    virtual void connectPeripheral(const PeripheralPtr &peripheral) = 0;
    /// Ends the connection, or gives up the attempt. Answered by didDisconnect() without an error,
    /// and nothing else comes for it; without either nothing happens.
    virtual void cancelPeripheralConnection(const PeripheralPtr &peripheral) = 0;

    CentralManagerDelegate *delegate = nullptr;
};

/// A state as a word of the log.
[[nodiscard]] QString nameOf(CentralManager::State state);
