#include "platform/BluetoothCentral.h"

#include "platform/BluetoothPeripheral.h"

#include <QBluetoothDeviceDiscoveryAgent>
#include <QBluetoothDeviceInfo>

using namespace Qt::StringLiterals;

namespace {

/// The module would run the daemon's program to read its version, which fails wherever that is not
/// to be seen, and would then leave the daemon aside and ask the kernel, for which the person has
/// no rights. Every daemon since 5.42 offers what is needed.
void trustDaemon()
{
    constexpr const char *variable = "BLUETOOTH_FORCE_DBUS_LE_VERSION";
    if (!qEnvironmentVariableIsSet(variable))
        qputenv(variable, "5.42");
}

/// macOS tells no address, but an identifier of its own.
QString identifierOf(const QBluetoothDeviceInfo &info)
{
    return info.address().isNull() ? info.deviceUuid().toString(QUuid::WithoutBraces)
                                   : info.address().toString();
}

} // namespace

BluetoothCentral::BluetoothCentral(const QDBusConnection &bus, const RadioPatience &patience,
                                   QObject *parent)
    : CentralManager(parent)
    , m_patience(patience)
    , m_watcher(bus, patience)
{
    trustDaemon();
    connect(&m_watcher, &RadioWatcher::stateChanged, this, &BluetoothCentral::stateChanged);
    connect(&m_watcher, &RadioWatcher::deviceChanged, this, [this](const QString &address) {
        if (m_heard.contains(address))
            report(m_peripherals.value(address));
    });
}

BluetoothCentral::~BluetoothCentral()
{
    stopScan();
    for (const Known &peripheral : std::as_const(m_peripherals)) {
        peripheral->disconnect(this);
        peripheral->drop();
    }
}

void BluetoothCentral::later(const std::function<void()> &work)
{
    QMetaObject::invokeMethod(this, work, Qt::QueuedConnection);
}

/// The module notices neither a radio that goes off nor a daemon that goes.
void BluetoothCentral::stateChanged()
{
    if (delegate)
        delegate->didUpdateState(*this);
    if (state() == State::poweredOn)
        return;
    stopScan();
    const auto peripherals = m_peripherals;
    for (const Known &peripheral : peripherals)
        peripheral->end(u"the radio is "_s + nameOf(state()));
}

// The scan.

void BluetoothCentral::scanForPeripherals()
{
    if (m_scanning || state() != State::poweredOn)
        return;
    m_scanning = true;
    // The module would wait for a daemon that hangs, and the window with it.
    m_watcher.ask(this, [this, scan = ++m_scans](bool answers) {
        if (answers)
            startAgent(scan);
    });
}

void BluetoothCentral::startAgent(int scan)
{
    if (!m_scanning || scan != m_scans)
        return;
    // With several adapters the module would take the first, be it on or off.
    m_agent =
        std::make_unique<QBluetoothDeviceDiscoveryAgent>(QBluetoothAddress(m_watcher.adapter()));
    m_agent->setLowEnergyDiscoveryTimeout(0); // with one, names that come late are not told
    const auto hear = [this, scan](const QBluetoothDeviceInfo &info) {
        if (m_scanning && scan == m_scans)
            heard(info);
    };
    using Agent = QBluetoothDeviceDiscoveryAgent;
    connect(m_agent.get(), &Agent::deviceDiscovered, this, hear, Qt::QueuedConnection);
    connect(m_agent.get(), &Agent::deviceUpdated, this, hear, Qt::QueuedConnection);
    m_agent->start(Agent::LowEnergyMethod);
}

void BluetoothCentral::stopScan()
{
    m_scanning = false;
    m_heard.clear();
    if (m_agent)
        m_agent->stop(); // its destructor would leave the radio scanning
    m_agent.reset();
}

void BluetoothCentral::heard(const QBluetoothDeviceInfo &info)
{
    const Known peripheral = peripheralFor(info);
    // The daemon tells of all that it knows; what it has not heard now has no strength.
    if (info.rssi() == 0 && !m_watcher.isConnected(peripheral->identifier()))
        return;
    m_heard.insert(peripheral->identifier());
    report(peripheral);
}

void BluetoothCentral::report(const Known &peripheral)
{
    // The module knows only what the person calls a device, where that is another name.
    const QString name =
        m_watcher.deviceName(peripheral->identifier()).value_or(peripheral->info().name());
    peripheral->setName(name);
    if (delegate)
        delegate->didDiscover(peripheral, name.isEmpty() ? std::nullopt : std::optional(name));
}

BluetoothCentral::Known BluetoothCentral::peripheralFor(const QBluetoothDeviceInfo &info)
{
    Known &peripheral = m_peripherals[identifierOf(info)];
    if (peripheral) {
        peripheral->setInfo(info);
    } else {
        peripheral = std::make_shared<BluetoothPeripheral>(identifierOf(info), info);
        listenTo(*peripheral);
    }
    return peripheral;
}

BluetoothCentral::Known BluetoothCentral::known(const PeripheralPtr &peripheral) const
{
    return m_peripherals.value(peripheral->identifier());
}

// The connections.

void BluetoothCentral::listenTo(BluetoothPeripheral &peripheral)
{
    const QString identifier = peripheral.identifier();
    connect(&peripheral, &BluetoothPeripheral::connected, this, [this, identifier] {
        if (delegate)
            delegate->didConnect(m_peripherals.value(identifier));
    });
    connect(&peripheral, &BluetoothPeripheral::ended, this,
            [this, identifier](bool wasConnected, const QString &error) {
                ended(m_peripherals.value(identifier), wasConnected, error);
            });
}

void BluetoothCentral::ended(const Known &peripheral, bool wasConnected, const QString &error)
{
    if (!delegate)
        return;
    if (wasConnected)
        delegate->didDisconnect(peripheral, error);
    else
        delegate->didFailToConnect(peripheral, error);
}

void BluetoothCentral::connectPeripheral(const PeripheralPtr &peripheral)
{
    const Known wanted = known(peripheral);
    if (!wanted || wanted->isConnecting())
        return;
    if (wanted->isConnected()) {
        later([this, wanted] {
            if (delegate && wanted->isConnected())
                delegate->didConnect(wanted);
        });
    } else if (state() != State::poweredOn) {
        later([this, wanted] { ended(wanted, false, u"the radio is not on"_s); });
    } else {
        wanted->connectDevice(m_watcher, m_patience.connecting);
    }
}

void BluetoothCentral::cancelPeripheralConnection(const PeripheralPtr &peripheral)
{
    const Known wanted = known(peripheral);
    if (!wanted || !wanted->drop())
        return;
    later([this, wanted] {
        if (delegate)
            delegate->didDisconnect(wanted, std::nullopt);
    });
}
