#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

/// What ships with the program: property lists, string tables, images and sounds, by name.
/// Stateless but for the configuration file; any thread.
class Bundle
{
public:
    using Texts = QHash<QString, QString>;

    /// The file read in place of the shipped property list "Url"; chosen once at start-up.
    static void setConfigurationFile(const QString &path);

    /// The texts in the top-level dictionary of a property list; values of other types are left
    /// out. Read anew by every call; empty when it is missing, unreadable or no property list.
    /// "Url" is looked for in the file set above, else as "Url.plist" in the user's configuration
    /// folder of the program, else among the shipped resources.
    [[nodiscard]] static Texts propertyList(const QString &name);

    /// The default string table of a language, from the folder LANG.lproj; absent when the folder
    /// is missing, empty after a debug line when what it holds is no table. Kept after the first
    /// call.
    [[nodiscard]] static std::optional<Texts> stringTable(const QString &language);

    /// Where a shipped image stands (an SVG); absent when there is none of that name.
    [[nodiscard]] static std::optional<QString> imagePath(const QString &name);
    /// Where a shipped sound stands (a WAV file); absent when there is none of that name.
    [[nodiscard]] static std::optional<QString> soundPath(const QString &name);

    /// Parses an XML property list as above; absent when it is none.
    [[nodiscard]] static std::optional<Texts> parsePropertyList(const QByteArray &xml);
    /// Parses a JSON object of texts, leaving other values out; absent when it is none.
    [[nodiscard]] static std::optional<Texts> parseStringTable(const QByteArray &json);
};
