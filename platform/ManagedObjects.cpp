#include "platform/ManagedObjects.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>

using namespace Qt::StringLiterals;

Interfaces unpackedInterfaces(const QDBusArgument &argument)
{
    Interfaces interfaces;
    argument.beginMap();
    while (!argument.atEnd()) {
        QString interface;
        QVariantMap properties;
        argument.beginMapEntry();
        argument >> interface >> properties;
        argument.endMapEntry();
        interfaces.insert(interface, properties);
    }
    argument.endMap();
    return interfaces;
}

ManagedObjects unpackedObjects(const QDBusMessage &reply)
{
    ManagedObjects objects;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != u"a{oa{sa{sv}}}"_s)
        return objects;
    const auto argument = reply.arguments().constFirst().value<QDBusArgument>();
    argument.beginMap();
    while (!argument.atEnd()) {
        QDBusObjectPath path;
        argument.beginMapEntry();
        argument >> path;
        objects.insert(path.path(), unpackedInterfaces(argument));
        argument.endMapEntry();
    }
    argument.endMap();
    return objects;
}
