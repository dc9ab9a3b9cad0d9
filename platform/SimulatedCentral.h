#pragma once

#include "platform/CentralManager.h"

#include <QMap>

#include <chrono>
#include <functional>

class SimulatedCentral;

/// A device of the simulated radio, which does what it is told. It must not outlive the radio.
class SimulatedPeripheral : public Peripheral
{
public:
    struct Description
    {
        QString name;
        QString identifier;
        QMap<QUuid, QList<QUuid>> services; ///< each with its characteristics
    };

    SimulatedPeripheral(SimulatedCentral &central, const Description &description);

    [[nodiscard]] QString name() const override { return m_description.name; }
    [[nodiscard]] QString identifier() const override { return m_description.identifier; }
    void discoverServices() override;
    [[nodiscard]] QList<QUuid> services() const override;
    void discoverCharacteristics(const QUuid &service) override;
    [[nodiscard]] QList<QUuid> characteristics(const QUuid &service) const override;
    void subscribe(const QUuid &characteristic) override;

    [[nodiscard]] bool isInReach() const { return m_inReach; }
    [[nodiscard]] bool isConnected() const { return m_link == Link::Up; }

    [[nodiscard]] bool hasSubscriber(const QUuid &characteristic) const
    {
        return m_subscribed.contains(characteristic);
    }
    /// False, and nothing is sent, when nobody has subscribed.
    bool send(const QUuid &characteristic, const QByteArray &value);

private:
    friend class SimulatedCentral;

    enum class Link { None, Wanted, Up };

    /// The work is left out when the connection has ended by then.
    void answer(std::function<void(PeripheralDelegate &delegate)> work);
    /// Makes what is under way for the link before come to nothing.
    void setLink(Link link);

    SimulatedCentral &m_central;
    const Description m_description;
    QList<QUuid> m_subscribed;
    bool m_inReach = false;
    Link m_link = Link::None;
    int m_change = 0; ///< another number for every change of the link
};

/// A radio inside the program, with devices that come and go as they are told: for the demo, tests
/// and measurements.
class SimulatedCentral : public CentralManager
{
    Q_OBJECT

public:
    using SimulatedPeripheralPtr = std::shared_ptr<SimulatedPeripheral>;

    explicit SimulatedCentral(State state = State::poweredOn, QObject *parent = nullptr);

    [[nodiscard]] State state() const override { return m_state; }
    void scanForPeripherals() override;
    void stopScan() override;
    void connectPeripheral(const PeripheralPtr &peripheral) override;
    void cancelPeripheralConnection(const PeripheralPtr &peripheral) override;

    void setState(State state);
    [[nodiscard]] bool isScanning() const { return m_scanning; }

    /// A device that is out of reach until setInReach().
    SimulatedPeripheralPtr addPeripheral(const SimulatedPeripheral::Description &description);
    /// One that goes out of reach loses its connection.
    void setInReach(const SimulatedPeripheralPtr &peripheral, bool inReach);

    /// How long connecting to a device out of reach takes to fail.
    std::chrono::milliseconds connectPatience{1000};

private:
    friend class SimulatedPeripheral;

    void later(std::function<void(CentralManagerDelegate &delegate)> work);
    void discover(const SimulatedPeripheralPtr &peripheral);
    void loseConnection(const SimulatedPeripheralPtr &peripheral, const QString &error);
    [[nodiscard]] SimulatedPeripheralPtr known(const PeripheralPtr &peripheral) const;

    State m_state;
    bool m_scanning = false;
    QList<SimulatedPeripheralPtr> m_peripherals;
};
