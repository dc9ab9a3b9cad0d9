#pragma once

#include <QList>
#include <QString>
#include <QUrl>

#include <algorithm>
#include <memory>
#include <optional>

/// One music file on the pen.
struct Music
{
    Music() = default;
    Music(const QString &name, const QUrl &url)
        : fileName(name)
        , fileURL(url)
    {
    }
    bool operator==(const Music &) const = default;

    QString fileName;
    QUrl fileURL;
    std::optional<QString> interpret;
    std::optional<QString> duration; ///< minutes, ":", seconds
    std::optional<QString> sizeString;

    // What the texts were made of, to sort by.
    double seconds = 0;
    qint64 bytes = 0;
};

using MusicList = QList<std::shared_ptr<Music>>;

/// Whether both name the same files with the same texts in the same order.
[[nodiscard]] inline bool areEqual(const MusicList &one, const MusicList &other)
{
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](const auto &a, const auto &b) { return *a == *b; });
}
