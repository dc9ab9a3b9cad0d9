#pragma once

#include "base/ByteCountFormatter.h"
#include "library/Music.h"
#include "platform/AudioAsset.h"
#include "platform/FileManager.h"

#include <QHash>

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>

class PenPlaces;

/// What the music files of a pen told when they were last read, by name. It belongs to one reading
/// at a time.
struct KnownMusic
{
    struct File
    {
        FileManager::Stamp stamp;
        AudioAsset asset;
    };
    QHash<QString, File> files;
};

/// One look through the pen's music folder, on any one thread.
class MusicReading
{
public:
    using ReadAsset = std::function<std::optional<AudioAsset>(const QString &path)>;

    /// Files that `known` holds unchanged are not opened; it learns those that are. The sizes are
    /// in the formatter's language.
    MusicReading(const ByteCountFormatter &sizeFormatter, std::shared_ptr<KnownMusic> known,
                 ReadAsset readAsset, std::stop_token stop);

    /// The music of the pen in the folder's order; empty without pen or music folder. Gives up
    /// between two files once it is stopped.
    [[nodiscard]] MusicList musicFiles();
    [[nodiscard]] bool isStopped() const { return m_stop.stop_requested(); }

private:
    [[nodiscard]] MusicList filesIn(const PenPlaces &pen);
    [[nodiscard]] std::shared_ptr<Music> music(const QUrl &folder, const FileManager::Entry &entry);
    [[nodiscard]] AudioAsset asset(const QString &path, const QString &name,
                                   const FileManager::Stamp &stamp);

    ByteCountFormatter m_sizeFormatter;
    std::shared_ptr<KnownMusic> m_known;
    ReadAsset m_readAsset;
    std::stop_token m_stop;
};

/// Minutes and seconds, both in whole numbers of at least two digits: "62:05".
[[nodiscard]] QString durationText(double seconds);
