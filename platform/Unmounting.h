#pragma once

#include "platform/UDisks.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <chrono>

/// Unmounts one mount point by the best means at hand: UDisks2, else the desktop's `gio`, else the
/// system call when the program may, else what is cached is at least written out, and the error
/// says that the volume is still mounted.
class Unmounting : public QObject
{
    Q_OBJECT

public:
    Unmounting(const QString &mountPoint, const QDBusConnection &bus, QObject *parent = nullptr);

    /// Once; finished() follows from the event loop. How long that takes is up to the medium, as
    /// long as those that were asked answer: one that does not is given up after `patience`.
    void start();
    std::chrono::milliseconds patience = longestAnswer;

Q_SIGNALS:
    void finished(const QString &error);

private:
    void asked(UDisksRequest::Outcome outcome, const QString &error);
    void tryDesktop();
    void trySystemCall(const QString &refusal);

    const QString m_mountPoint;
    UDisksRequest m_request;
};
