#pragma once

#include "platform/UDisks.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

/// Unmounts one mount point by the best means at hand: UDisks2, else the system call when the
/// program may, else what is cached is at least written out, and the error says that the volume is
/// still mounted.
class Unmounting : public QObject
{
    Q_OBJECT

public:
    Unmounting(const QString &mountPoint, const QDBusConnection &bus, QObject *parent = nullptr);

    /// Once; finished() follows from the event loop. How long that takes is up to the medium.
    void start() { m_request.start(); }

Q_SIGNALS:
    void finished(const QString &error);

private:
    void asked(UDisksRequest::Outcome outcome, const QString &error);
    void trySystemCall();

    const QString m_mountPoint;
    UDisksRequest m_request;
};
