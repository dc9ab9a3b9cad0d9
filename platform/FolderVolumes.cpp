#include "platform/FolderVolumes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <utility>

using namespace std::chrono_literals;

namespace {

struct CloseFolder
{
    void operator()(DIR *folder) const { ::closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

OpenFolder openFolder(const QString &path)
{
    return OpenFolder(::opendir(QFile::encodeName(path).constData()));
}

bool isFolder(int parent, const dirent &entry)
{
    if (entry.d_type == DT_DIR)
        return true;
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return false;
    struct stat status = {};
    return ::fstatat(parent, entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

QString nearestExisting(const QString &folder)
{
    QString path = folder;
    while (!QFileInfo::exists(path))
        path = QFileInfo(path).path();
    return path;
}

} // namespace

FolderVolumes::FolderVolumes(const QString &folder, QObject *parent)
    : VolumeSource(parent)
    , m_folder(QDir::cleanPath(QDir(folder).absolutePath()))
{
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &FolderVolumes::look);
    m_arrival.setSingleShot(true);
    m_arrival.setInterval(150ms);
    connect(&m_arrival, &QTimer::timeout, this, &FolderVolumes::announceArrivals);
    watch();
    m_announced = subfolders();
    m_order = m_announced.keys();
    m_order.sort();
}

QList<Volume> FolderVolumes::volumes() const
{
    const Folders present = subfolders();
    const std::lock_guard lock(m_mutex);
    QStringList names = present.keys();
    names.sort();
    names = m_order + names;
    names.removeDuplicates();
    QList<Volume> volumes;
    for (const QString &name : std::as_const(names)) {
        if (present.contains(name) && m_hidden.value(name) != present.value(name))
            volumes.append({name, m_folder + u'/' + name});
    }
    return volumes;
}

/// One lookup in place of a listing; thousands of files are named while a library is read.
std::optional<Volume> FolderVolumes::volume(const QString &name) const
{
    std::unique_lock lock(m_mutex);
    const bool mayBeHidden = m_hidden.contains(name);
    lock.unlock();
    if (mayBeHidden)
        return VolumeSource::volume(name);
    if (name.isEmpty() || name.startsWith(u'.') || name.contains(u'/'))
        return std::nullopt;
    const Volume volume = {name, m_folder + u'/' + name};
    struct stat status = {};
    const bool isThere =
        ::stat(QFile::encodeName(volume.path).constData(), &status) == 0 && S_ISDIR(status.st_mode);
    return isThere ? std::optional(volume) : std::nullopt;
}

void FolderVolumes::unmount(const Volume &volume, std::function<void(const QString &error)> done)
{
    const QList<Volume> present = volumes();
    QString error;
    if (present.contains(volume)) {
        const quint64 inode = subfolders().value(volume.name);
        const std::lock_guard lock(m_mutex);
        m_hidden.insert(volume.name, inode);
    } else {
        error = qt_error_string(ENOENT);
    }
    QMetaObject::invokeMethod(
        this,
        [this, error, done = std::move(done)] {
            look();
            done(error);
        },
        Qt::QueuedConnection);
}

FolderVolumes::Folders FolderVolumes::subfolders() const
{
    Folders folders;
    const OpenFolder folder = openFolder(m_folder);
    if (!folder)
        return folders;
    while (const dirent *entry = ::readdir(folder.get())) {
        if (entry->d_name[0] != '.' && isFolder(::dirfd(folder.get()), *entry))
            folders.insert(QFile::decodeName(entry->d_name), entry->d_ino);
    }
    return folders;
}

/// The folder, or as long as it is missing the one in which it or its parent will appear.
void FolderVolumes::watch()
{
    QString wanted = nearestExisting(m_folder);
    // The next folder on the way may have been made just before the watch was set.
    while (m_watcher.directories() != QStringList(wanted)) {
        if (!m_watcher.directories().isEmpty())
            m_watcher.removePaths(m_watcher.directories());
        if (!m_watcher.addPath(wanted))
            return;
        wanted = nearestExisting(m_folder);
    }
}

void FolderVolumes::look()
{
    watch();
    const Folders present = subfolders();
    forgetHidden(present);
    const QStringList gone = takeGone(present);
    if (!newcomers(present).isEmpty() && !m_arrival.isActive())
        m_arrival.start();
    for (const QString &name : gone)
        Q_EMIT unmounted(name);
}

void FolderVolumes::forgetHidden(const Folders &present)
{
    const std::lock_guard lock(m_mutex);
    m_hidden.removeIf([&present](const Folders::iterator &hidden) {
        return present.value(hidden.key()) != hidden.value();
    });
}

QStringList FolderVolumes::takeGone(const Folders &present)
{
    const std::lock_guard lock(m_mutex);
    QStringList gone;
    m_announced.removeIf([&](const Folders::iterator &known) {
        const bool stays = present.value(known.key()) == known.value()
                           && m_hidden.value(known.key()) != known.value();
        if (!stays)
            gone.append(known.key());
        return !stays;
    });
    gone.sort();
    m_order.removeIf([&gone](const QString &name) { return gone.contains(name); });
    return gone;
}

/// Those that were not announced yet, by name.
QStringList FolderVolumes::newcomers(const Folders &present) const
{
    const std::lock_guard lock(m_mutex);
    QStringList names;
    for (auto folder = present.cbegin(); folder != present.cend(); ++folder) {
        if (!m_announced.contains(folder.key()) && !m_hidden.contains(folder.key()))
            names.append(folder.key());
    }
    names.sort();
    return names;
}

void FolderVolumes::announceArrivals()
{
    const Folders present = subfolders();
    const QStringList arrived = newcomers(present);
    for (const QString &name : arrived)
        m_announced.insert(name, present.value(name));
    {
        const std::lock_guard lock(m_mutex);
        m_order += arrived;
    }
    for (const QString &name : arrived)
        Q_EMIT mounted(name);
}
