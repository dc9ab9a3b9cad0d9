#pragma once

#include "library/CoverImage.h"
#include "platform/FileManager.h"

#include <QByteArray>
#include <QHash>
#include <QString>

#include <functional>
#include <optional>

/// What the titles' texts and covers held when they were last read, so that a library that stays as
/// it is is read once. A file counts as unchanged while its size, time and identity are; of texts
/// nothing is kept beyond one that this program writes itself, since the clock of a pen's file
/// system is too coarse to tell two of them apart. Main thread only.
class KnownFiles
{
public:
    using CoverReader =
        std::function<std::optional<CoverImage>(const QString &path, FileManager::Stamp &stamp)>;

    /// As FileService::getFileContent(), which is asked when the text is not known.
    [[nodiscard]] std::optional<QString> text(const QString &path);
    /// As `read` tells, which is asked when the cover is not known and says what file it read.
    [[nodiscard]] std::optional<CoverImage> cover(const QString &path, const CoverReader &read);

    /// Makes room for so many titles.
    void reserve(qsizetype titles);
    void forget();

private:
    struct Text
    {
        FileManager::Stamp stamp;
        QByteArray utf8; ///< half as long as the text
    };
    struct Cover
    {
        FileManager::Stamp stamp;
        std::optional<CoverImage> image;
    };

    QHash<QString, Text> m_texts;
    QHash<QString, Cover> m_covers;
    int m_writings = 0; ///< as they were when the first of the texts was read
};

/// Those of the pen, once for the whole program.
[[nodiscard]] KnownFiles &knownFiles();
