#pragma once

#include <QString>
#include <QStringList>

#include <optional>

/// The versions that the pen's settings file names; absent where it names none.
struct PenVersions
{
    std::optional<qint64> firmware;
    std::optional<qint64> image;
};

/// The same as texts to show; empty where absent.
struct VersionTexts
{
    QString firmware;
    QString image;
};

/// Reads the pen's settings. Without state; any thread.
class ConfigureService
{
public:
    static const QString firmwareVersionKey; // "firmwareVersion"
    static const QString imageVersionKey;    // "ImageVersion"

    /// The versions in lines of key=value; a later line of a key wins, a value that is no decimal
    /// integer is ignored.
    [[nodiscard]] static PenVersions versions(const QStringList &lines);

    /// The versions in the pen's settings file; none when it cannot be read.
    [[nodiscard]] static PenVersions versionsOnPen();

    /// The versions to show; empty unless the connected test succeeds.
    [[nodiscard]] static VersionTexts versionTexts();
};
