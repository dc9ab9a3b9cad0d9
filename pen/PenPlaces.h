#pragma once

#include "pen/FileType.h"

#include <QString>
#include <QUrl>

#include <optional>

/// Where the pen's files are, from one look at the mounted volumes: for work that names several of
/// them. When the pen goes they name nothing, which every file operation tells, so that nothing is
/// lost by not looking again. The pen that comes next may be another: keep them no longer than one
/// step of work, or something that is stopped when the pen goes. Any thread.
class PenPlaces
{
public:
    /// Absent when no pen volume is mounted. Logged as URLFactory::getQuilloURL().
    [[nodiscard]] static std::optional<PenPlaces> look();
    /// The same, logged as URLFactory::getSettingsFileURL().
    [[nodiscard]] static std::optional<PenPlaces> lookForSettings();

    [[nodiscard]] const QUrl &root() const { return m_root; }
    [[nodiscard]] QUrl book() const;
    [[nodiscard]] QUrl configure() const;
    [[nodiscard]] QUrl music() const;
    [[nodiscard]] QUrl settingsFile() const;
    [[nodiscard]] QUrl tbdFile() const;

    /// The path of a file in the book folder; absent for an identifier that cannot be a file's
    /// name.
    [[nodiscard]] std::optional<QString> titleFile(const QString &id, FileType type) const;

private:
    explicit PenPlaces(const QUrl &root);

    QUrl m_root;
    QString m_bookPath; ///< with a "/" at its end
};
