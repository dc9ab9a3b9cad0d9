#pragma once

#include "platform/Descriptor.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

/// For an operation that reads thousands of files of one folder in one go: while a visit lasts, its
/// thread sees the mounted volumes as they stood when it began, and finds the files directly in the
/// folder through one open descriptor. Keep it short: the volume stays busy meanwhile. A pen that
/// is pulled during a visit shows as files that cannot be read.
class FolderVisit
{
public:
    /// For FileManager::visit(), which looks the values up. Visits end in the reverse order of
    /// beginning.
    FolderVisit(const QString &folder, const QString &realPath,
                const std::optional<QList<QUrl>> &volumes);
    ~FolderVisit();
    FolderVisit(const FolderVisit &) = delete;
    FolderVisit &operator=(const FolderVisit &) = delete;

    /// The thread's visit; null without one.
    [[nodiscard]] static const FolderVisit *current();

    /// As FileManager::mountedVolumeURLs() was.
    [[nodiscard]] const std::optional<QList<QUrl>> &volumes() const { return m_volumes; }

    /// The name of the file at `path` when it stands directly in the folder, else empty.
    [[nodiscard]] QByteArray nameOf(const QString &path) const;
    [[nodiscard]] int folder() const { return m_descriptor.get(); }
    /// The folder's path in the system, with a "/" at its end.
    [[nodiscard]] const QString &realPath() const { return m_realPath; }

private:
    QString m_path; ///< with a "/" at its end
    QString m_realPath;
    std::optional<QList<QUrl>> m_volumes;
    Descriptor m_descriptor;
    const FolderVisit *m_outer;
};
