#pragma once

#include "platform/VolumeSource.h"

#include <QSignalSpy>
#include <QStringList>

[[nodiscard]] inline QStringList namesOf(const QList<Volume> &volumes)
{
    QStringList names;
    for (const Volume &volume : volumes)
        names.append(volume.name);
    return names;
}

/// The names that a signal of a volume source told, in order.
[[nodiscard]] inline QStringList told(const QSignalSpy &spy)
{
    QStringList names;
    for (const QList<QVariant> &arguments : spy)
        names.append(arguments.first().toString());
    return names;
}
