#pragma once

#include <QByteArray>
#include <QHash>
#include <QMap>
#include <QString>
#include <QStringList>

class DemoCatalogue;

/// A file on the pen at one moment.
struct PenFile
{
    qint64 size = 0;
    QByteArray sha256;

    friend bool operator==(const PenFile &, const PenFile &) = default;
};

/// Every file on the pen, hidden ones too, by its path below the pen's folder.
using PenFiles = QMap<QString, PenFile>;

[[nodiscard]] PenFiles readPen(const QString &folder);

/// What a pen that was made for the catalogue must hold in "book" and "configure" after an update
/// run, byte for byte as the servers hold it.
[[nodiscard]] PenFiles expectedFiles(const DemoCatalogue &catalogue);

/// What is missing, different or left over on the pen, a line each; empty when everything arrived.
[[nodiscard]] QStringList differences(const PenFiles &expected, const PenFiles &found);

/// A line for each file of `after` that is new or different.
[[nodiscard]] QStringList placedFiles(const PenFiles &before, const PenFiles &after);
