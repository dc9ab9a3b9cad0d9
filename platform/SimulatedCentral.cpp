#include "platform/SimulatedCentral.h"

#include "platform/Dispatch.h"

#include <utility>

using namespace Qt::StringLiterals;

SimulatedPeripheral::SimulatedPeripheral(SimulatedCentral &central, const Description &description)
    : m_central(central)
    , m_description(description)
{
}

void SimulatedPeripheral::answer(std::function<void(PeripheralDelegate &delegate)> work)
{
    m_central.later([this, change = m_change, work = std::move(work)](CentralManagerDelegate &) {
        if (isConnected() && change == m_change && delegate)
            work(*delegate);
    });
}

void SimulatedPeripheral::setLink(Link link)
{
    ++m_change;
    m_link = link;
    m_subscribed.clear();
}

void SimulatedPeripheral::discoverServices()
{
    answer([this](PeripheralDelegate &hearing) { hearing.didDiscoverServices(*this, {}); });
}

QList<QUuid> SimulatedPeripheral::services() const
{
    return m_description.services.keys();
}

void SimulatedPeripheral::discoverCharacteristics(const QUuid &service)
{
    answer([this, service](PeripheralDelegate &hearing) {
        hearing.didDiscoverCharacteristics(*this, service, {});
    });
}

QList<QUuid> SimulatedPeripheral::characteristics(const QUuid &service) const
{
    return m_description.services.value(service);
}

void SimulatedPeripheral::subscribe(const QUuid &characteristic)
{
    if (isConnected() && !m_subscribed.contains(characteristic))
        m_subscribed.append(characteristic);
}

bool SimulatedPeripheral::send(const QUuid &characteristic, const QByteArray &value)
{
    if (!m_subscribed.contains(characteristic))
        return false;
    answer([this, characteristic, value](PeripheralDelegate &hearing) {
        hearing.didUpdateValue(*this, characteristic, value, {});
    });
    return true;
}

SimulatedCentral::SimulatedCentral(State state, QObject *parent)
    : CentralManager(parent)
    , m_state(state)
{
}

void SimulatedCentral::later(std::function<void(CentralManagerDelegate &delegate)> work)
{
    Dispatch::main(this, [this, work = std::move(work)] {
        if (delegate)
            work(*delegate);
    });
}

void SimulatedCentral::scanForPeripherals()
{
    if (m_state != State::poweredOn || m_scanning)
        return;
    m_scanning = true;
    for (const SimulatedPeripheralPtr &peripheral : std::as_const(m_peripherals))
        discover(peripheral);
}

void SimulatedCentral::stopScan()
{
    m_scanning = false;
}

void SimulatedCentral::discover(const SimulatedPeripheralPtr &peripheral)
{
    later([this, peripheral](CentralManagerDelegate &hearing) {
        // One that is connected does not call for others.
        if (!m_scanning || !peripheral->m_inReach || peripheral->isConnected())
            return;
        const QString name = peripheral->name();
        hearing.didDiscover(peripheral, name.isEmpty() ? std::nullopt : std::optional(name));
    });
}

void SimulatedCentral::connectPeripheral(const PeripheralPtr &peripheral)
{
    using Link = SimulatedPeripheral::Link;
    const SimulatedPeripheralPtr device = known(peripheral);
    if (device->m_link == Link::Wanted)
        return;
    if (device->m_link == Link::None)
        device->setLink(Link::Wanted);
    const auto attempt = [this, device, change = device->m_change] {
        if (change != device->m_change)
            return;
        const bool reached =
            device->isConnected() || (m_state == State::poweredOn && device->m_inReach);
        if (!device->isConnected())
            device->setLink(reached ? Link::Up : Link::None);
        if (delegate && reached)
            delegate->didConnect(device);
        else if (delegate)
            delegate->didFailToConnect(device, u"no answer"_s);
    };
    if (device->m_inReach)
        Dispatch::main(this, attempt);
    else
        Dispatch::mainAfter(connectPatience, this, attempt);
}

void SimulatedCentral::cancelPeripheralConnection(const PeripheralPtr &peripheral)
{
    const SimulatedPeripheralPtr device = known(peripheral);
    if (device->m_link == SimulatedPeripheral::Link::None)
        return;
    device->setLink(SimulatedPeripheral::Link::None);
    later([peripheral](CentralManagerDelegate &hearing) { hearing.didDisconnect(peripheral, {}); });
}

void SimulatedCentral::loseConnection(const SimulatedPeripheralPtr &peripheral,
                                      const QString &error)
{
    if (!peripheral->isConnected())
        return;
    peripheral->setLink(SimulatedPeripheral::Link::None);
    later([peripheral, error](CentralManagerDelegate &hearing) {
        hearing.didDisconnect(peripheral, error);
    });
}

void SimulatedCentral::setState(State state)
{
    if (state == m_state)
        return;
    m_state = state;
    later([this](CentralManagerDelegate &hearing) { hearing.didUpdateState(*this); });
    if (state == State::poweredOn)
        return;
    stopScan();
    for (const SimulatedPeripheralPtr &peripheral : std::as_const(m_peripherals))
        loseConnection(peripheral, u"the radio went off"_s);
}

SimulatedCentral::SimulatedPeripheralPtr
SimulatedCentral::addPeripheral(const SimulatedPeripheral::Description &description)
{
    m_peripherals.append(std::make_shared<SimulatedPeripheral>(*this, description));
    return m_peripherals.last();
}

void SimulatedCentral::setInReach(const SimulatedPeripheralPtr &peripheral, bool inReach)
{
    if (inReach == peripheral->m_inReach)
        return;
    peripheral->m_inReach = inReach;
    if (inReach)
        discover(peripheral);
    else
        loseConnection(peripheral, u"out of reach"_s);
}

SimulatedCentral::SimulatedPeripheralPtr
SimulatedCentral::known(const PeripheralPtr &peripheral) const
{
    return std::static_pointer_cast<SimulatedPeripheral>(peripheral);
}
