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

constexpr auto lookInterval = 50ms;
constexpr auto stillFor = 150ms;
constexpr auto atTheLatest = 800ms;

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
    m_settling.setInterval(lookInterval);
    connect(&m_settling, &QTimer::timeout, this, &FolderVolumes::announceArrivals);
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
    m_arrivals.remove(volume.name);
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

size_t FolderVolumes::firstLevelOf(const QString &name) const
{
    const OpenFolder folder = openFolder(m_folder + u'/' + name);
    if (!folder)
        return 0;
    size_t sum = 1;
    while (const dirent *entry = ::readdir(folder.get())) {
        struct stat status = {};
        if (::fstatat(::dirfd(folder.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0)
            sum += qHashMulti(0, status.st_ino, status.st_size, status.st_mtim.tv_sec,
                              status.st_mtim.tv_nsec);
    }
    return sum;
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
    addArrivals(present);
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

void FolderVolumes::addArrivals(const Folders &present)
{
    const std::lock_guard lock(m_mutex);
    for (auto folder = present.cbegin(); folder != present.cend(); ++folder) {
        const QString &name = folder.key();
        if (m_announced.contains(name) || m_hidden.contains(name))
            continue;
        const auto known = m_arrivals.constFind(name);
        if (known != m_arrivals.cend() && known->inode == folder.value())
            continue;
        Arrival arrival = {folder.value(), firstLevelOf(name), {}, {}};
        arrival.appeared.start();
        arrival.changed.start();
        m_arrivals.insert(name, arrival);
    }
    if (!m_arrivals.isEmpty() && !m_settling.isActive())
        m_settling.start();
}

void FolderVolumes::announceArrivals()
{
    const Folders present = subfolders();
    QStringList settled;
    m_arrivals.removeIf([&](const QHash<QString, Arrival>::iterator &arrival) {
        const bool gone = present.value(arrival.key()) != arrival->inode;
        if (gone || !hasSettled(arrival.key(), *arrival))
            return gone;
        m_announced.insert(arrival.key(), arrival->inode);
        settled.append(arrival.key());
        return true;
    });
    if (m_arrivals.isEmpty())
        m_settling.stop();
    settled.sort();
    {
        const std::lock_guard lock(m_mutex);
        m_order += settled;
    }
    for (const QString &name : std::as_const(settled))
        Q_EMIT mounted(name);
}

bool FolderVolumes::hasSettled(const QString &name, Arrival &arrival) const
{
    const size_t firstLevel = firstLevelOf(name);
    if (firstLevel != std::exchange(arrival.firstLevel, firstLevel))
        arrival.changed.start();
    return arrival.changed.hasExpired(std::chrono::milliseconds(stillFor).count())
           || arrival.appeared.hasExpired(std::chrono::milliseconds(atTheLatest).count());
}
