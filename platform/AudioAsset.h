#pragma once

#include <QString>

#include <optional>

/// What an MP3 or WAV file tells of itself.
struct AudioAsset
{
    std::optional<QString> artist; ///< the first one, as the file spells it; never empty
    double duration = 0;           ///< seconds of the audio that is there; 0 for what is no audio

    /// Absent when it cannot be opened or is no regular file; never waits for one that is a pipe.
    /// Reads as little as it can and believes no length that the file does not have. Any thread.
    [[nodiscard]] static std::optional<AudioAsset> read(const QString &path);
};
