#pragma once

#include "platform/ManagedObjects.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

class QDBusMessage;

/// One request to UDisks2: unmount what is shown at a mount point, then power its drive off or
/// eject it, unless another of the drive's file systems is still mounted. Never forces.
class UDisksRequest : public QObject
{
    Q_OBJECT

public:
    enum class Outcome {
        Unmounted,
        Refused,     ///< the daemon's words say why
        Unavailable, ///< no bus, no daemon, or the mount is none of its own
    };

    UDisksRequest(const QString &mountPoint, const QDBusConnection &bus, QObject *parent = nullptr);

    /// Once; finished() follows, never before the event loop runs again.
    void start();

Q_SIGNALS:
    void finished(Outcome outcome, const QString &error);

private:
    void call(const QString &path, const QString &interface, const QString &method,
              const QVariantList &arguments, void (UDisksRequest::*handler)(const QDBusMessage &));
    void readObjects(const QDBusMessage &reply);
    void unmounted(const QDBusMessage &reply);
    void driveReleased(const QDBusMessage &reply);
    [[nodiscard]] QString blockAtMountPoint() const;
    [[nodiscard]] bool isDriveInUse(const QString &drive) const;

    const QString m_mountPoint;
    QDBusConnection m_bus;
    ManagedObjects m_objects;
    QString m_block;
};
