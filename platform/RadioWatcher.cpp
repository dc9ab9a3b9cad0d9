#include "platform/RadioWatcher.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QPointer>

#include <limits>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.bluez"_s;
const QString adapterInterface = service + u".Adapter1"_s;
const QString deviceInterface = service + u".Device1"_s;
const QString objectManager = u"org.freedesktop.DBus.ObjectManager"_s;

QDBusMessage callTo(const QString &interface, const QString &method)
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, u"/"_s, interface, method);
    message.setAutoStartService(false); // a radio that nobody uses stays as it is
    return message;
}

CentralManager::State stateFor(const QDBusError &error)
{
    if (error.type() == QDBusError::AccessDenied || error.name().endsWith(u".NotAuthorized")
        || error.name().endsWith(u".NotPermitted"))
        return CentralManager::State::unauthorized;
    if (error.type() == QDBusError::ServiceUnknown || error.name().endsWith(u".NameHasNoOwner"))
        return CentralManager::State::unsupported;
    return CentralManager::State::unknown;
}

} // namespace

RadioWatcher::RadioWatcher(const QDBusConnection &bus, const RadioPatience &patience,
                           QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_patience(patience)
{
    m_restart.setSingleShot(true);
    m_restart.setInterval(patience.restart);
    // A daemon that is there again but has not said a word hangs.
    connect(&m_restart, &QTimer::timeout, this,
            [this] { setState(m_query ? State::unknown : State::unsupported); });
    QMetaObject::invokeMethod(this, &RadioWatcher::start, Qt::QueuedConnection);
}

RadioWatcher::~RadioWatcher() = default;

void RadioWatcher::start()
{
    if (!m_bus.isConnected()) {
        setState(State::unsupported);
        return;
    }
    listen();
    m_ownerWatcher = std::make_unique<QDBusServiceWatcher>(
        service, m_bus, QDBusServiceWatcher::WatchForOwnerChange);
    connect(m_ownerWatcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &before, const QString &now) {
                ownerChanged(before, now);
            });
    query();
}

/// Whoever sends: to listen to the daemon alone, Qt would first ask the bus for its owner and wait.
void RadioWatcher::listen()
{
    m_bus.connect({}, u"/"_s, objectManager, u"InterfacesAdded"_s, this,
                  SLOT(interfacesAdded(QDBusMessage)));
    m_bus.connect({}, u"/"_s, objectManager, u"InterfacesRemoved"_s, this,
                  SLOT(interfacesRemoved(QDBusMessage)));
    for (const QString &interface : {adapterInterface, deviceInterface})
        m_bus.connect({}, {}, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s,
                      {interface}, {}, this, SLOT(propertiesChanged(QDBusMessage)));
}

void RadioWatcher::ownerChanged(const QString &before, const QString &now)
{
    m_query.reset();
    m_owner.clear();
    m_objects.clear();
    if (!before.isEmpty()) {
        m_restart.start();
        setState(State::resetting);
    }
    if (!now.isEmpty())
        query();
}

/// Without a limit in time: a daemon that hangs may come round.
void RadioWatcher::query()
{
    m_query.reset(new QDBusPendingCallWatcher(m_bus.asyncCall(
        callTo(objectManager, u"GetManagedObjects"_s), std::numeric_limits<int>::max())));
    QDBusPendingCallWatcher *asked = m_query.get();
    connect(asked, &QDBusPendingCallWatcher::finished, this, [this, asked] {
        if (asked == m_query.get())
            readObjects(m_query->reply());
    });
}

void RadioWatcher::readObjects(const QDBusMessage &reply)
{
    m_query.reset();
    if (reply.type() != QDBusMessage::ReplyMessage) {
        const State state = stateFor(QDBusError(reply));
        if (m_restart.isActive() && state == State::unsupported)
            return; // it may come yet
        m_restart.stop();
        setState(state);
        return;
    }
    m_restart.stop();
    m_owner = reply.service();
    m_objects = unpackedObjects(reply);
    evaluate();
}

void RadioWatcher::ask(QObject *guard, const std::function<void(bool)> &answer)
{
    const QDBusMessage ping = callTo(u"org.freedesktop.DBus.Peer"_s, u"Ping"_s);
    auto *watcher = new QDBusPendingCallWatcher(
        m_bus.isConnected() ? m_bus.asyncCall(ping, int(m_patience.answer.count()))
                            : QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, {})),
        this);
    const QPointer<QObject> asker = guard;
    const auto finish = [this, watcher, asker, answer] {
        watcher->deleteLater();
        const bool answered = watcher->reply().type() == QDBusMessage::ReplyMessage;
        if (!answered)
            noAnswer();
        if (asker)
            answer(answered);
    };
    connect(watcher, &QDBusPendingCallWatcher::finished, this, finish, Qt::QueuedConnection);
}

void RadioWatcher::noAnswer()
{
    if (m_owner.isEmpty())
        return; // gone, or asked already
    query();
    setState(State::unknown);
}

bool RadioWatcher::isToldByDaemon(const QDBusMessage &message, const QString &signature) const
{
    return message.service() == m_owner && message.signature() == signature;
}

void RadioWatcher::interfacesAdded(const QDBusMessage &message)
{
    if (!isToldByDaemon(message, u"oa{sa{sv}}"_s))
        return;
    const QString path = message.arguments().at(0).value<QDBusObjectPath>().path();
    const Interfaces added = unpackedInterfaces(message.arguments().at(1).value<QDBusArgument>());
    m_objects[path].insert(added);
    for (const QString &interface : added.keys())
        changed(path, interface);
}

void RadioWatcher::interfacesRemoved(const QDBusMessage &message)
{
    if (!isToldByDaemon(message, u"oas"_s))
        return;
    const auto object = m_objects.find(message.arguments().at(0).value<QDBusObjectPath>().path());
    if (object == m_objects.end())
        return;
    for (const QString &interface : message.arguments().at(1).toStringList())
        object->remove(interface);
    if (object->isEmpty())
        m_objects.erase(object);
    evaluate();
}

void RadioWatcher::propertiesChanged(const QDBusMessage &message)
{
    if (!isToldByDaemon(message, u"sa{sv}as"_s))
        return;
    const QString interface = message.arguments().at(0).toString();
    const auto object = m_objects.find(message.path());
    if (object == m_objects.end() || !object->contains(interface))
        return;
    QVariantMap &properties = (*object)[interface];
    properties.insert(qdbus_cast<QVariantMap>(message.arguments().at(1)));
    for (const QString &name : message.arguments().at(2).toStringList())
        properties.remove(name);
    changed(message.path(), interface);
}

void RadioWatcher::changed(const QString &path, const QString &interface)
{
    if (interface == adapterInterface)
        evaluate();
    else if (interface == deviceInterface)
        Q_EMIT deviceChanged(m_objects.value(path).value(interface).value(u"Address"_s).toString());
}

void RadioWatcher::evaluate()
{
    const auto isAdapter = [](const Interfaces &object) {
        return object.contains(adapterInterface);
    };
    if (!adapterPath().isEmpty())
        setState(State::poweredOn);
    else if (std::any_of(m_objects.cbegin(), m_objects.cend(), isAdapter))
        setState(State::poweredOff);
    else
        setState(State::unsupported);
}

void RadioWatcher::setState(State state)
{
    if (state == m_state)
        return;
    m_state = state;
    Q_EMIT stateChanged();
}

/// The first in the order of their names that is on.
QString RadioWatcher::adapterPath() const
{
    QString first;
    for (auto object = m_objects.cbegin(); object != m_objects.cend(); ++object) {
        const bool isOn = object->value(adapterInterface).value(u"Powered"_s).toBool();
        if (isOn && (first.isEmpty() || object.key() < first))
            first = object.key();
    }
    return first;
}

QString RadioWatcher::adapter() const
{
    return m_objects.value(adapterPath()).value(adapterInterface).value(u"Address"_s).toString();
}

std::optional<QVariantMap> RadioWatcher::device(const QString &address) const
{
    const QString path = adapterPath() + u"/dev_"_s + QString(address).replace(u':', u'_');
    const Interfaces object = m_objects.value(path);
    if (!object.contains(deviceInterface))
        return std::nullopt;
    return object.value(deviceInterface);
}

std::optional<QString> RadioWatcher::deviceName(const QString &address) const
{
    const std::optional<QVariantMap> properties = device(address);
    if (!properties)
        return std::nullopt;
    return properties->value(u"Name"_s).toString();
}

bool RadioWatcher::isConnected(const QString &address) const
{
    return device(address).value_or(QVariantMap()).value(u"Connected"_s).toBool();
}
