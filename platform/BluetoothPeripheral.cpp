#include "platform/BluetoothPeripheral.h"

#include "platform/RadioWatcher.h"

#include <QBluetoothDeviceInfo>
#include <QLowEnergyController>
#include <QLowEnergyService>

#include <utility>

using namespace Qt::StringLiterals;

BluetoothPeripheral::BluetoothPeripheral(const QString &identifier,
                                         const QBluetoothDeviceInfo &info)
    : m_identifier(identifier)
    , m_info(std::make_unique<QBluetoothDeviceInfo>(info))
{
    m_watchdog.setSingleShot(true);
    connect(&m_watchdog, &QTimer::timeout, this, [this] { end(u"no answer in time"_s); });
}

BluetoothPeripheral::~BluetoothPeripheral()
{
    drop();
}

void BluetoothPeripheral::setInfo(const QBluetoothDeviceInfo &info)
{
    *m_info = info;
}

template <typename Work>
auto BluetoothPeripheral::whileConnected(Work work)
{
    return [this, attempt = m_attempt, work](const auto &...arguments) {
        if (attempt == m_attempt)
            work(arguments...);
    };
}

void BluetoothPeripheral::later(const std::function<void()> &work)
{
    QMetaObject::invokeMethod(this, whileConnected(work), Qt::QueuedConnection);
}

// The connection.

void BluetoothPeripheral::connectDevice(RadioWatcher &radio, std::chrono::milliseconds patience)
{
    drop();
    m_attempt = std::make_shared<int>();
    m_radio = &radio;
    m_watchdog.start(patience);
    // The module would wait for a daemon that hangs, and the window with it.
    radio.ask(this, whileConnected([this](bool answers) {
                  if (answers && m_radio)
                      openController(*m_radio);
                  else
                      end(u"the Bluetooth daemon does not answer"_s);
              }));
}

void BluetoothPeripheral::openController(RadioWatcher &radio)
{
    // With several adapters the module would take the first, be it on or off.
    m_controller.reset(
        QLowEnergyController::createCentral(*m_info, QBluetoothAddress(radio.adapter())));
    listenTo(*m_controller);
    m_controller->connectToDevice();
}

void BluetoothPeripheral::listenTo(QLowEnergyController &controller)
{
    connect(&controller, &QLowEnergyController::connected, this, whileConnected([this] {
        m_connected = true;
        Q_EMIT connected();
    }),
            Qt::QueuedConnection);
    connect(&controller, &QLowEnergyController::disconnected, this,
            whileConnected([this] { lost(u"the connection broke off"_s); }), Qt::QueuedConnection);
    connect(
        &controller, &QLowEnergyController::errorOccurred, this,
        whileConnected([this](QLowEnergyController::Error) { lost(m_controller->errorString()); }),
        Qt::QueuedConnection);
    connect(&controller, &QLowEnergyController::discoveryFinished, this,
            whileConnected([this] { servicesKnown(); }), Qt::QueuedConnection);
}

/// When the radio goes off, the daemon tells of its connections first: what else it has to say is
/// waited for, so that the state is known by the time the end of the connection is.
void BluetoothPeripheral::lost(const QString &error)
{
    if (m_radio)
        m_radio->ask(this, whileConnected([this, error](bool) { end(error); }));
    else
        end(error);
}

bool BluetoothPeripheral::drop()
{
    if (!m_attempt)
        return false;
    m_attempt.reset();
    m_connected = false;
    m_watchdog.stop();
    m_services.clear();
    m_controller.reset(); // disconnects, which must come before the next attempt
    return true;
}

void BluetoothPeripheral::end(const QString &error)
{
    const bool wasConnected = m_connected;
    if (drop())
        Q_EMIT ended(wasConnected, error);
}

// What the device offers and sends.

void BluetoothPeripheral::discoverServices()
{
    if (!m_connected)
        return;
    if (m_controller->state() == QLowEnergyController::ConnectedState)
        m_controller->discoverServices();
    else if (m_controller->state() == QLowEnergyController::DiscoveredState)
        later([this] { servicesKnown(); });
}

void BluetoothPeripheral::servicesKnown()
{
    if (delegate)
        delegate->didDiscoverServices(*this, std::nullopt);
}

QList<QUuid> BluetoothPeripheral::services() const
{
    QList<QUuid> uuids;
    if (m_connected) {
        for (const QBluetoothUuid &uuid : m_controller->services())
            uuids.append(uuid);
    }
    return uuids;
}

void BluetoothPeripheral::discoverCharacteristics(const QUuid &uuid)
{
    if (!m_connected)
        return;
    if (m_services.contains(uuid)) {
        if (m_services[uuid]->state() == QLowEnergyService::RemoteServiceDiscovered)
            later([this, uuid] { detailsKnown(uuid, std::nullopt); });
        return;
    }
    QLowEnergyService *service =
        m_controller->createServiceObject(QBluetoothUuid(uuid), m_controller.get());
    if (!service) {
        later([this, uuid] { detailsKnown(uuid, u"no such service"_s); });
        return;
    }
    m_services.insert(uuid, service);
    listenTo(*service, uuid);
    // A full discovery reads every value, and those would come as if the device had sent them.
    service->discoverDetails(QLowEnergyService::SkipValueDiscovery);
}

void BluetoothPeripheral::listenTo(QLowEnergyService &service, const QUuid &uuid)
{
    using Service = QLowEnergyService;
    const auto stateChanged = [this, uuid](Service::ServiceState state) {
        if (state == Service::RemoteServiceDiscovered)
            detailsKnown(uuid, std::nullopt);
    };
    const auto valueChanged = [this](const QLowEnergyCharacteristic &characteristic,
                                     const QByteArray &value) {
        if (delegate)
            delegate->didUpdateValue(*this, characteristic.uuid(), value, std::nullopt);
    };
    connect(&service, &Service::stateChanged, this, whileConnected(stateChanged),
            Qt::QueuedConnection);
    connect(&service, &Service::characteristicChanged, this, whileConnected(valueChanged),
            Qt::QueuedConnection);
    connect(&service, &Service::descriptorWritten, this,
            whileConnected([this](const auto &...) { m_watchdog.stop(); }), Qt::QueuedConnection);
}

void BluetoothPeripheral::detailsKnown(const QUuid &service, const std::optional<QString> &error)
{
    if (delegate)
        delegate->didDiscoverCharacteristics(*this, service, error);
}

QList<QUuid> BluetoothPeripheral::characteristics(const QUuid &service) const
{
    QList<QUuid> uuids;
    if (const QLowEnergyService *known = m_services.value(service)) {
        for (const QLowEnergyCharacteristic &characteristic : known->characteristics())
            uuids.append(characteristic.uuid());
    }
    return uuids;
}

void BluetoothPeripheral::subscribe(const QUuid &uuid)
{
    if (!m_connected)
        return;
    for (QLowEnergyService *service : std::as_const(m_services)) {
        const QLowEnergyDescriptor switchOn =
            service->characteristic(QBluetoothUuid(uuid)).clientCharacteristicConfiguration();
        if (!switchOn.isValid())
            continue;
        connect(service, &QLowEnergyService::errorOccurred, this,
                whileConnected([this, uuid](QLowEnergyService::ServiceError) {
                    subscriptionFailed(uuid, u"the subscription failed"_s);
                }),
                Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
        service->writeDescriptor(switchOn, QLowEnergyCharacteristic::CCCDEnableNotification);
        return;
    }
    later([this, uuid] { subscriptionFailed(uuid, u"nothing to subscribe to"_s); });
}

/// Nothing can come over such a connection.
void BluetoothPeripheral::subscriptionFailed(const QUuid &characteristic, const QString &error)
{
    if (delegate)
        delegate->didUpdateValue(*this, characteristic, {}, error);
    lost(error);
}
