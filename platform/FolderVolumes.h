#pragma once

#include "platform/VolumeSource.h"

#include <QFileSystemWatcher>
#include <QHash>
#include <QTimer>

#include <mutex>

/// The subfolders of one folder as volumes: appearing is mounting, disappearing is unmounting.
/// A subfolder may be a link to a folder; names that begin with "." are none. The demo, the tests
/// and `--volumes` run on it.
///
/// volumes() lists those that were there first by name, then the others as they came.
///
/// mounted() comes a moment after the new subfolder, so that a small one that is copied into place
/// is whole by then; a large one should be renamed into place. volumes() does not wait.
class FolderVolumes : public VolumeSource
{
    Q_OBJECT

public:
    /// The folder may be missing; it is noticed when it is made.
    explicit FolderVolumes(const QString &folder, QObject *parent = nullptr);

    [[nodiscard]] QList<Volume> volumes() const override;
    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override;

    /// Hides the volume until its folder has gone and come back.
    void unmount(const Volume &volume, std::function<void(const QString &error)> done) override;

private:
    /// Names and inodes: another folder under the same name is another volume.
    using Folders = QHash<QString, quint64>;

    [[nodiscard]] Folders subfolders() const;
    void watch();
    void look();
    void forgetHidden(const Folders &present);
    [[nodiscard]] QStringList takeGone(const Folders &present);
    [[nodiscard]] QStringList newcomers(const Folders &present) const;
    void announceArrivals();

    const QString m_folder;
    QFileSystemWatcher m_watcher;
    QTimer m_arrival;
    Folders m_announced;
    mutable std::mutex m_mutex;
    QStringList m_order; ///< the announced ones, oldest first; guarded by m_mutex
    Folders m_hidden;    ///< unmounted but still there; guarded by m_mutex
};
