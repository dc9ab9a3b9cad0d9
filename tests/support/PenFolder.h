#pragma once

#include <QByteArray>
#include <QFileInfo>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A volumes folder of its own, with a pen in it: book/, mp3/ and configure/settings.ini. Relative
/// names below are looked up on the pen, whether it is plugged in or not.
class PenFolder
{
public:
    enum class Start { PluggedIn, PulledOut };

    explicit PenFolder(const QString &name = QStringLiteral("QUILLO"),
                       Start start = Start::PluggedIn);

    /// The folder for FolderVolumes.
    [[nodiscard]] QString volumes() const
    {
        return m_directory.filePath(QStringLiteral("volumes"));
    }
    /// Where the pen really stands now, without a trailing "/".
    [[nodiscard]] QString root() const
    {
        return (m_pluggedIn ? volumes() : drawer()) + QLatin1Char('/') + m_name;
    }
    [[nodiscard]] QString path(const QString &relative) const
    {
        return root() + QLatin1Char('/') + relative;
    }
    /// The same file as the program names it.
    [[nodiscard]] QString volumePath(const QString &relative) const
    {
        return QStringLiteral("/Volumes/") + m_name + QLatin1Char('/') + relative;
    }

    /// Moves the pen into the volumes folder in one step, and out of it.
    void plugIn() { move(true); }
    void pullOut() { move(false); }

    /// Writes the file, making its folders.
    void write(const QString &relative, const QByteArray &data) const;
    /// The file's bytes; null when it cannot be read.
    [[nodiscard]] QByteArray read(const QString &relative) const;
    [[nodiscard]] bool exists(const QString &relative) const
    {
        return QFileInfo::exists(path(relative));
    }
    void remove(const QString &relative) const;
    /// Every name in the folder, hidden ones too, sorted.
    [[nodiscard]] QStringList names(const QString &relative) const;

private:
    [[nodiscard]] QString drawer() const { return m_directory.filePath(QStringLiteral("drawer")); }
    void move(bool pluggedIn);

    QTemporaryDir m_directory;
    QString m_name;
    bool m_pluggedIn;
};
