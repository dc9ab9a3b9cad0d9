#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// A short tune as a WAV file with its title and artist; `notes` are half tones above a'.
[[nodiscard]] QByteArray waveFile(const QString &title, const QString &artist,
                                  const QList<int> &notes);
