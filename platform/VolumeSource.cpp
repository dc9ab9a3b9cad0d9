#include "platform/VolumeSource.h"

#include <QSet>

#include <algorithm>

std::optional<Volume> VolumeSource::volume(const QString &name) const
{
    const QList<Volume> mounted = volumes();
    const auto found = std::find_if(mounted.begin(), mounted.end(),
                                    [&name](const Volume &known) { return known.name == name; });
    return found == mounted.end() ? std::nullopt : std::optional(*found);
}

QList<Volume> namedVolumes(const QStringList &mountPoints)
{
    QList<Volume> volumes;
    QSet<QString> taken;
    for (const QString &mountPoint : mountPoints) {
        const QString last = mountPoint.section(u'/', -1, -1, QString::SectionSkipEmpty);
        QString name = last;
        for (int suffix = 1; taken.contains(name); ++suffix)
            name = last + u' ' + QString::number(suffix);
        taken.insert(name);
        volumes.append({name, mountPoint});
    }
    return volumes;
}
