#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUuid>

#include <memory>
#include <optional>

class Peripheral;

/// Hears what a peripheral answers. Called on the main thread from the event loop, never from
/// inside a call of the peripheral. An error is a text for the log.
class PeripheralDelegate
{
public:
    virtual ~PeripheralDelegate() = default;

    virtual void didDiscoverServices(Peripheral &peripheral,
                                     const std::optional<QString> &error) = 0;
    virtual void didDiscoverCharacteristics(Peripheral &peripheral, const QUuid &service,
                                            const std::optional<QString> &error) = 0;
    virtual void didUpdateValue(Peripheral &peripheral, const QUuid &characteristic,
                                const QByteArray &value, const std::optional<QString> &error) = 0;
};

/// A device of the low energy radio, as the scan of a CentralManager found it. Services and
/// characteristics are known by their UUIDs. What needs a connection does nothing without one.
/// Main thread only.
class Peripheral
{
public:
    Peripheral() = default;
    virtual ~Peripheral() = default;
    Peripheral(const Peripheral &) = delete;
    Peripheral &operator=(const Peripheral &) = delete;

    /// What it calls itself; empty when it has not told.
    [[nodiscard]] virtual QString name() const = 0;
    /// Tells it from every other device, and stays the same as long as the program runs.
    [[nodiscard]] virtual QString identifier() const = 0;

    /// Answered by didDiscoverServices(); from then on services() has all of them.
    virtual void discoverServices() = 0;
    [[nodiscard]] virtual QList<QUuid> services() const = 0;

    /// Answered by didDiscoverCharacteristics(); from then on characteristics() has all of them.
    virtual void discoverCharacteristics(const QUuid &service) = 0;
    [[nodiscard]] virtual QList<QUuid> characteristics(const QUuid &service) const = 0;

    /// From then on every value that the device sends comes as didUpdateValue(), in order and each
    /// as often as it was sent. A subscription that fails is told there once, as an error, and
    /// may end the connection.
    virtual void subscribe(const QUuid &characteristic) = 0;

    PeripheralDelegate *delegate = nullptr;
};

using PeripheralPtr = std::shared_ptr<Peripheral>;
