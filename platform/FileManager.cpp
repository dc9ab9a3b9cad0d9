#include "platform/FileManager.h"

#include "platform/Address.h"
#include "platform/FilePlace.h"
#include "platform/FilePlacement.h"
#include "platform/FolderVisit.h"
#include "platform/VolumeSource.h"

#include <QDir>
#include <QFile>
#include <QMutex>
#include <QStandardPaths>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Nothing that is read whole comes near it; a broken or hostile pen may claim any length.
constexpr qint64 maximumLength = 1024 * 1024 * 1024;

std::atomic<VolumeSource *> currentSource = nullptr;

FileResult resultOf(int error)
{
    if (error == 0)
        return {};
    return {qt_error_string(error)};
}

struct CloseFolder
{
    void operator()(DIR *folder) const { ::closedir(folder); }
};

/// The entries of an open folder, without "." and "..".
class FolderReader
{
public:
    explicit FolderReader(Descriptor folder)
    {
        if (!folder.isOpen())
            return;
        m_folder.reset(::fdopendir(folder.get()));
        if (m_folder) [[maybe_unused]]
            const int taken = folder.release();
    }

    [[nodiscard]] bool isOpen() const { return m_folder != nullptr; }
    [[nodiscard]] int descriptor() const { return ::dirfd(m_folder.get()); }

    /// Null at the end, with errno set when it is not the real one.
    [[nodiscard]] const dirent *next()
    {
        do {
            errno = 0;
            m_entry = ::readdir(m_folder.get());
        } while (
            m_entry
            && (std::strcmp(m_entry->d_name, ".") == 0 || std::strcmp(m_entry->d_name, "..") == 0));
        return m_entry;
    }

private:
    std::unique_ptr<DIR, CloseFolder> m_folder;
    const dirent *m_entry = nullptr;
};

qint64 nanoseconds(const timespec &time)
{
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

FileManager::Stamp stampIn(const struct stat &status)
{
    return {status.st_size, nanoseconds(status.st_mtim), status.st_ino};
}

qint64 modifiedOf(int folder, const char *name)
{
    struct stat status = {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::numeric_limits<qint64>::min();
    return nanoseconds(status.st_mtim);
}

FileManager::Contents readAll(int file, qint64 expected, qint64 limit)
{
    // One byte more than expected, so that the end shows without growing.
    QByteArray data(limit < 0 ? expected + 1 : std::min(expected + 1, limit), Qt::Uninitialized);
    qint64 length = 0;
    while (limit < 0 || length < limit) {
        if (length == data.size())
            data.resize(limit < 0 ? 2 * length : std::min(2 * length, limit));
        const ssize_t count = ::read(file, data.data() + length, size_t(data.size() - length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 || length > maximumLength)
            return {std::nullopt, qt_error_string(count < 0 ? errno : EFBIG)};
        length += count;
        if (count == 0 || (limit < 0 && length == expected))
            break;
    }
    data.truncate(length);
    return {data, {}};
}

int writeInPlace(const FilePlace &place, const QByteArray &data)
{
    Descriptor file = place.open(O_WRONLY | O_CREAT | O_TRUNC | O_NONBLOCK, 0644);
    if (!file.isOpen())
        return errno;
    const int error = writeAll(FileCalls::system(), file.get(), data.constData(),
                               static_cast<size_t>(data.size()));
    const int closing = ::close(file.release()) == 0 ? 0 : errno;
    return error != 0 ? error : closing;
}

int removeTree(int folder, const char *name)
{
    if (::unlinkat(folder, name, 0) == 0)
        return 0;
    // Linux says EISDIR for a folder, POSIX allows EPERM.
    if (errno != EISDIR && errno != EPERM)
        return errno;
    FolderReader reader(
        Descriptor(::openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)));
    if (!reader.isOpen())
        return errno;
    while (const dirent *entry = reader.next()) {
        if (const int error = removeTree(reader.descriptor(), entry->d_name); error != 0)
            return error;
    }
    return ::unlinkat(folder, name, AT_REMOVEDIR) == 0 ? 0 : errno;
}

bool isFolder(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

void FileManager::setVolumeSource(VolumeSource *source)
{
    currentSource = source;
}

std::optional<QList<QUrl>> FileManager::mountedVolumeURLs()
{
    if (const FolderVisit *visit = FolderVisit::current())
        return visit->volumes();
    const VolumeSource *source = currentSource;
    if (!source)
        return std::nullopt;
    const QList<Volume> mounted = source->volumes();
    QList<QUrl> urls;
    for (const Volume &volume : mounted)
        urls.append(urlOf(u"/Volumes/"_s + volume.name + u'/'));
    return urls;
}

FilePlace FileManager::placeOf(const QString &path)
{
    return FilePlace(path, currentSource);
}

std::optional<QString> FileManager::realPath(const QString &path)
{
    const FilePlace place = placeOf(path);
    if (place.error() != 0)
        return std::nullopt;
    struct stat status = {};
    const bool exists =
        ::fstatat(place.folder(), place.name().constData(), &status, place.lookupFlags()) == 0;
    if (exists && S_ISLNK(status.st_mode))
        return std::nullopt;
    return place.realPath();
}

bool FileManager::fileExists(const QString &path)
{
    const FilePlace place = placeOf(path);
    struct stat status = {};
    return place.error() == 0
           && ::fstatat(place.folder(), place.name().constData(), &status, place.lookupFlags()) == 0
           && !S_ISLNK(status.st_mode);
}

std::optional<FileManager::Stamp> FileManager::stampOf(const QString &path)
{
    const FilePlace place = placeOf(path);
    struct stat status = {};
    if (place.error() != 0
        || ::fstatat(place.folder(), place.name().constData(), &status, place.lookupFlags()) != 0
        || !S_ISREG(status.st_mode))
        return std::nullopt;
    return stampIn(status);
}

FileManager::Contents FileManager::contents(const QString &path, qint64 limit)
{
    struct stat status = {};
    const Descriptor file = placeOf(path).openForReading(status);
    if (!file.isOpen())
        return {std::nullopt, qt_error_string(errno)};
    if (limit < 0 && status.st_size > maximumLength)
        return {std::nullopt, qt_error_string(EFBIG)};
    Contents contents = readAll(file.get(), status.st_size, limit);
    contents.stamp = stampIn(status);
    return contents;
}

std::optional<QList<FileManager::Entry>> FileManager::contentsOfDirectory(const QString &path,
                                                                          HiddenFiles hidden,
                                                                          const QString &containing,
                                                                          QString *error)
{
    const auto failed = [error] {
        if (error)
            *error = qt_error_string(errno);
        return std::nullopt;
    };
    FolderReader reader(placeOf(path).open(O_RDONLY | O_DIRECTORY));
    if (!reader.isOpen())
        return failed();
    QList<Entry> entries;
    while (const dirent *entry = reader.next()) {
        if (hidden == HiddenFiles::Skip && entry->d_name[0] == '.')
            continue;
        const QString name = QFile::decodeName(entry->d_name);
        if (name.contains(containing))
            entries.append({name, modifiedOf(reader.descriptor(), entry->d_name)});
    }
    if (errno != 0)
        return failed();
    return entries;
}

FolderVisit FileManager::visit(const QString &folder)
{
    return FolderVisit(folder, realPath(folder).value_or(QString()), mountedVolumeURLs());
}

FileResult FileManager::write(const QString &path, const QByteArray &data, WriteMode mode)
{
    return resultOf(mode == WriteMode::Atomic ? FilePlacement(placeOf(path)).write(data)
                                              : writeInPlace(placeOf(path), data));
}

FileResult FileManager::removeItem(const QString &path)
{
    const FilePlace place = placeOf(path);
    if (place.error() != 0)
        return resultOf(place.error());
    if (place.name() == "." || place.name() == "..")
        return resultOf(EBUSY); // before anything in it is touched
    return resultOf(removeTree(place.folder(), place.name().constData()));
}

void FileManager::removeLeftovers(const QString &folder)
{
    FolderReader reader(placeOf(folder).open(O_RDONLY | O_DIRECTORY));
    if (!reader.isOpen())
        return;
    while (const dirent *entry = reader.next()) {
        const QByteArray name = entry->d_name;
        if (name.startsWith(FilePlacement::neighbourPrefix) && !FilePlacement::isAtWork(name))
            ::unlinkat(reader.descriptor(), entry->d_name, 0);
    }
}

std::optional<FileManager::FileSystemAttributes>
FileManager::attributesOfFileSystem(const QString &path)
{
    const Descriptor item = placeOf(path).open(O_PATH);
    struct statvfs system = {};
    if (!item.isOpen() || ::fstatvfs(item.get(), &system) != 0)
        return std::nullopt;
    const auto unit = static_cast<qint64>(system.f_frsize);
    return FileSystemAttributes{static_cast<qint64>(system.f_blocks) * unit,
                                static_cast<qint64>(system.f_bavail) * unit};
}

/// Looked up once per home folder: the lookup reads a file.
QString FileManager::documentsLocation()
{
    static QMutex mutex;
    static QByteArray home;
    static QString location;
    const QByteArray now = qgetenv("HOME") + '\n' + qgetenv("XDG_CONFIG_HOME");
    const QMutexLocker locker(&mutex);
    if (location.isEmpty() || home != now) {
        home = now;
        location =
            QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation));
    }
    return location;
}

std::optional<QString> FileManager::documentsFolder()
{
    const QString location = documentsLocation();
    if (location.isEmpty() || !(isFolder(location) || QDir().mkpath(location)))
        return std::nullopt;
    return location;
}
