#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QVariantMap>

#include <optional>

/// What ships with the program: property lists, string tables, images and sounds, by name.
/// Stateless but for the configuration file; any thread.
class Bundle
{
public:
    /// The file read in place of the shipped property list "Url"; chosen once at start-up.
    static void setConfigurationFile(const QString &path);

    /// The top-level dictionary of a property list: texts as QString, integers as qlonglong, reals
    /// as double, booleans as bool, data as QByteArray, dates as QDateTime, arrays as QVariantList,
    /// dictionaries as QVariantMap. Read anew by every call; empty when it is missing, unreadable
    /// or no property list. "Url" is looked for in the file set above, else as "Url.plist" in the
    /// user's configuration folder of the program, else among the shipped resources.
    [[nodiscard]] static QVariantMap propertyList(const QString &name);

    /// The default string table of a language, from the folder LANG.lproj; absent when the folder
    /// is missing. Kept after the first call.
    [[nodiscard]] static std::optional<QHash<QString, QString>>
    stringTable(const QString &language);

    /// Where a shipped image stands (an SVG); absent when there is none of that name.
    [[nodiscard]] static std::optional<QString> imagePath(const QString &name);
    /// Where a shipped sound stands (a WAV file); absent when there is none of that name.
    [[nodiscard]] static std::optional<QString> soundPath(const QString &name);

    /// Parses an XML property list as above; absent when it is none.
    [[nodiscard]] static std::optional<QVariantMap> parsePropertyList(const QByteArray &xml);
    /// Parses `"key" = "text";` lines with comments and escapes; absent when a line is malformed.
    [[nodiscard]] static std::optional<QHash<QString, QString>>
    parseStringTable(const QByteArray &utf8);
};
