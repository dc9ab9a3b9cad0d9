#pragma once

#include "platform/FileManager.h"

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

/// What is done to the pen's files. Synchronous, without state, any thread. Failures are printed as
/// "ERROR: " and the error, or as said per operation, and never thrown.
class FileService
{
public:
    /// The whole file as UTF-8; absent when it cannot be read or decoded. Traced in the log.
    /// `stamp` becomes that of the file as it was when reading it began.
    [[nodiscard]] static std::optional<QString> getFileContent(const QUrl &fileURL,
                                                               FileManager::Stamp *stamp = nullptr);

    /// The UTF-8 text split at every newline character, empty pieces dropped; absent as above.
    [[nodiscard]] static std::optional<QStringList> getFileLines(const QUrl &fileURL);

    /// Writes the text as UTF-8, replacing the file in place; a file that holds just this is left
    /// untouched. False after printing why not.
    static bool writeFile(const QString &text, const QUrl &fileURL);
    /// Grows whenever this program begins or ends to write a text. While it stays, a text that has
    /// been read can have been changed by other programs only.
    [[nodiscard]] static int writings();

    /// The names in the folder that contain `containing`, newest modification first, hidden entries
    /// left out; empty when the folder cannot be read.
    [[nodiscard]] static QStringList listFiles(const QUrl &directoryURL, const QString &containing);

    /// Removes the existing content, cover and metadata file of the MID; false when one failed.
    static bool deleteFiles(const QString &mid);

    /// False when there is no such file or it cannot be removed.
    static bool deleteFile(const QString &atPath);
    static void deleteFile(const QUrl &fileURL);

    /// Removes the entries at the pen's root whose name begins with "."; nothing without pen.
    static void removeHiddenItems();
};
