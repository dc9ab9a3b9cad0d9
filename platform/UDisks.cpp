#include "platform/UDisks.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QFile>

#include <chrono>

using namespace Qt::StringLiterals;

namespace {

/// Writing out what is cached may take minutes, and so may the person's password.
constexpr std::chrono::milliseconds longestAnswer = std::chrono::minutes(5);

const QString service = u"org.freedesktop.UDisks2"_s;
const QString blockInterface = service + u".Block"_s;
const QString fileSystemInterface = service + u".Filesystem"_s;
const QString driveInterface = service + u".Drive"_s;

QStringList mountPointsOf(const Interfaces &object)
{
    const QVariant value = object.value(fileSystemInterface).value(u"MountPoints"_s);
    QStringList mountPoints;
    for (const QByteArray &bytes : qdbus_cast<QByteArrayList>(value))
        mountPoints.append(QFile::decodeName(bytes.constData())); // up to the closing zero
    return mountPoints;
}

QString driveOf(const Interfaces &object)
{
    return qdbus_cast<QDBusObjectPath>(object.value(blockInterface).value(u"Drive"_s)).path();
}

bool isError(const QDBusMessage &reply, QLatin1StringView name)
{
    return reply.type() == QDBusMessage::ErrorMessage
           && reply.errorName() == service + ".Error."_L1 + name;
}

} // namespace

UDisksRequest::UDisksRequest(const QString &mountPoint, const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_mountPoint(mountPoint)
    , m_bus(bus)
{
}

void UDisksRequest::start()
{
    call(u"/org/freedesktop/UDisks2"_s, u"org.freedesktop.DBus.ObjectManager"_s,
         u"GetManagedObjects"_s, {}, &UDisksRequest::readObjects);
}

void UDisksRequest::call(const QString &path, const QString &interface, const QString &method,
                         const QVariantList &arguments,
                         void (UDisksRequest::*handler)(const QDBusMessage &))
{
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    message.setInteractiveAuthorizationAllowed(true);
    if (!m_bus.isConnected()) { // such a call would never end
        const QDBusMessage reply = message.createErrorReply(QDBusError::Disconnected, u"No bus"_s);
        const auto fail = [this, handler, reply] {
            (this->*handler)(reply);
        };
        QMetaObject::invokeMethod(this, fail, Qt::QueuedConnection);
        return;
    }
    auto *watcher =
        new QDBusPendingCallWatcher(m_bus.asyncCall(message, int(longestAnswer.count())), this);
    const auto handle = [this, watcher, handler] {
        watcher->deleteLater();
        (this->*handler)(watcher->reply());
    };
    connect(watcher, &QDBusPendingCallWatcher::finished, this, handle);
}

void UDisksRequest::readObjects(const QDBusMessage &reply)
{
    m_objects = unpackedObjects(reply);
    m_block = blockAtMountPoint();
    if (m_block.isEmpty()) {
        Q_EMIT finished(Outcome::Unavailable, reply.errorMessage());
        return;
    }
    call(m_block, fileSystemInterface, u"Unmount"_s, {QVariantMap()}, &UDisksRequest::unmounted);
}

void UDisksRequest::unmounted(const QDBusMessage &reply)
{
    if (reply.type() != QDBusMessage::ReplyMessage && !isError(reply, "NotMounted"_L1)) {
        Q_EMIT finished(Outcome::Refused, reply.errorMessage());
        return;
    }
    const QString path = driveOf(m_objects.value(m_block));
    const QVariantMap drive = m_objects.value(path).value(driveInterface);
    const bool inUse = isDriveInUse(path);
    if (!inUse && drive.value(u"CanPowerOff"_s).toBool())
        call(path, driveInterface, u"PowerOff"_s, {QVariantMap()}, &UDisksRequest::driveReleased);
    else if (!inUse && drive.value(u"Ejectable"_s).toBool())
        call(path, driveInterface, u"Eject"_s, {QVariantMap()}, &UDisksRequest::driveReleased);
    else
        Q_EMIT finished(Outcome::Unmounted, {});
}

/// Whatever came of it: what is unmounted can be pulled.
void UDisksRequest::driveReleased(const QDBusMessage &)
{
    Q_EMIT finished(Outcome::Unmounted, {});
}

QString UDisksRequest::blockAtMountPoint() const
{
    for (auto object = m_objects.cbegin(); object != m_objects.cend(); ++object) {
        if (mountPointsOf(*object).contains(m_mountPoint))
            return object.key();
    }
    return {};
}

bool UDisksRequest::isDriveInUse(const QString &drive) const
{
    for (auto object = m_objects.cbegin(); object != m_objects.cend(); ++object) {
        if (object.key() != m_block && driveOf(*object) == drive
            && !mountPointsOf(*object).isEmpty())
            return true;
    }
    return false;
}
