#pragma once

#include "platform/VolumeSource.h"

#include <QElapsedTimer>
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
/// mounted() waits until the new subfolder's first level has been still for a moment, at most 800
/// ms, so that a pen that is being copied into place is not read half. volumes() does not wait.
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

    /// A subfolder that was not announced yet.
    struct Arrival
    {
        quint64 inode;
        size_t firstLevel; ///< changes when an entry of the subfolder does
        QElapsedTimer appeared;
        QElapsedTimer changed;
    };

    [[nodiscard]] Folders subfolders() const;
    [[nodiscard]] size_t firstLevelOf(const QString &name) const;
    void watch();
    void look();
    void forgetHidden(const Folders &present);
    [[nodiscard]] QStringList takeGone(const Folders &present);
    void addArrivals(const Folders &present);
    void announceArrivals();
    [[nodiscard]] bool hasSettled(const QString &name, Arrival &arrival) const;

    const QString m_folder;
    QFileSystemWatcher m_watcher;
    QTimer m_settling;
    Folders m_announced;
    QHash<QString, Arrival> m_arrivals;
    mutable std::mutex m_mutex;
    QStringList m_order; ///< the announced ones, oldest first; guarded by m_mutex
    Folders m_hidden;    ///< unmounted but still there; guarded by m_mutex
};
