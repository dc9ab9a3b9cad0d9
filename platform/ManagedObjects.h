#pragma once

#include <QHash>
#include <QString>
#include <QVariantMap>

class QDBusArgument;
class QDBusMessage;

// What a daemon's object manager tells, unpacked by hand: registering the maps' types would change
// what the Bluetooth module reads. Nothing here calls a daemon; any thread.

/// Interface, then its properties by name.
using Interfaces = QHash<QString, QVariantMap>;
/// Object path, then the object.
using ManagedObjects = QHash<QString, Interfaces>;

/// Of an argument of the type a{sa{sv}}.
[[nodiscard]] Interfaces unpackedInterfaces(const QDBusArgument &argument);
/// Of the reply to GetManagedObjects; nothing for any other message.
[[nodiscard]] ManagedObjects unpackedObjects(const QDBusMessage &reply);
