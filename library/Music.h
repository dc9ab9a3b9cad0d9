#pragma once

#include <QList>
#include <QString>
#include <QUrl>

#include <memory>
#include <optional>

/// One music file on the pen.
struct Music
{
    QString fileName;
    QUrl fileURL;
    std::optional<QString> interpret;
    std::optional<QString> duration; ///< minutes, ":", seconds
    std::optional<QString> sizeString;
};

using MusicList = QList<std::shared_ptr<Music>>;
