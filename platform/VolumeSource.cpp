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

QList<Volume> uniquelyNamed(QList<Volume> volumes)
{
    QSet<QString> taken;
    for (Volume &volume : volumes) {
        const QString name = volume.name;
        for (int suffix = 1; taken.contains(volume.name); ++suffix)
            volume.name = name + u' ' + QString::number(suffix);
        taken.insert(volume.name);
    }
    return volumes;
}
