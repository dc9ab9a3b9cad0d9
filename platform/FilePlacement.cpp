#include "platform/FilePlacement.h"

#include <QSet>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <linux/magic.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace {

constexpr off_t writeBackWindow = 8 * 1024 * 1024;
constexpr qint64 largestOnFat = 0xFFFF'FFFF;

/// errno of a call that answered -1, else 0.
int errorOf(int answer)
{
    return answer < 0 ? errno : 0;
}

/// The neighbours that placements of this process work on.
class Neighbours
{
public:
    /// Of one placement alone: another one of the same target may still be at work.
    [[nodiscard]] QByteArray addUnique()
    {
        const std::lock_guard lock(m_mutex);
        const QByteArray name = FilePlacement::neighbourPrefix + QByteArray::number(::getpid())
                                + '-' + QByteArray::number(++m_count);
        m_names.insert(name);
        return name;
    }

    void remove(const QByteArray &name)
    {
        const std::lock_guard lock(m_mutex);
        m_names.remove(name);
    }

    [[nodiscard]] bool contain(const QByteArray &name)
    {
        const std::lock_guard lock(m_mutex);
        return m_names.contains(name);
    }

private:
    std::mutex m_mutex;
    quint64 m_count = 0;
    QSet<QByteArray> m_names;
};

Neighbours &neighbours()
{
    static Neighbours neighbours;
    return neighbours;
}

} // namespace

const FileCalls &FileCalls::system()
{
    static const FileCalls calls = {
        [](int folder, const char *name, int flags, mode_t mode) {
            return ::openat(folder, name, flags, mode);
        },
        ::pread,
        ::write,
        ::sync_file_range,
        ::fdatasync,
        ::fsync,
        ::close,
        ::renameat,
        ::unlinkat,
        ::fstatvfs,
    };
    return calls;
}

int writeAll(const FileCalls &calls, int file, const char *data, size_t size)
{
    size_t written = 0;
    while (written < size) {
        const ssize_t count = calls.write(file, data + written, size - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? errno : ENOSPC;
        written += static_cast<size_t>(count);
    }
    return 0;
}

bool Room::fits(qint64 size, qint64 bytes) const
{
    const qint64 units = (size + unit - 1) / unit + 1;
    return !isKnown || units <= bytes / unit;
}

const QByteArray FilePlacement::neighbourPrefix = ".quillo-part-";

FilePlacement::FilePlacement(FilePlace target, const FileCalls &calls)
    : m_target(std::move(target))
    , m_calls(calls)
    , m_neighbour(neighbours().addUnique())
{
}

FilePlacement::~FilePlacement()
{
    discard();
    neighbours().remove(m_neighbour);
}

bool FilePlacement::isAtWork(const QByteArray &neighbour)
{
    return neighbours().contain(neighbour);
}

int FilePlacement::room(Room &room) const
{
    if (m_target.error() != 0)
        return m_target.error();
    struct statvfs system = {};
    if (m_calls.fstatvfs(m_target.folder(), &system) != 0)
        return errno;
    struct stat old = {};
    const bool replaces =
        ::fstatat(m_target.folder(), m_target.name().constData(), &old, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISREG(old.st_mode);
    room.isKnown = system.f_blocks > 0;
    room.unit = std::max<qint64>(1, static_cast<qint64>(system.f_frsize));
    room.free = static_cast<qint64>(system.f_bavail) * room.unit;
    room.old = replaces ? old.st_blocks * 512 : 0;
    return 0;
}

int FilePlacement::checkSize(qint64 size) const
{
    struct statfs system = {};
    if (size <= largestOnFat || ::fstatfs(m_target.folder(), &system) != 0)
        return 0;
    if (system.f_type == MSDOS_SUPER_MAGIC)
        return EFBIG;
    if (system.f_type != FUSE_SUPER_MAGIC || m_file < 0)
        return 0;
    // What is behind it does not tell; a length beyond the limit does.
    const int error = errorOf(::ftruncate(m_file, largestOnFat + 1));
    std::ignore = ::ftruncate(m_file, 0);
    return error == EFBIG ? EFBIG : 0;
}

int FilePlacement::open()
{
    if (m_target.error() != 0)
        return m_target.error();
    discard();
    m_calls.unlinkat(m_target.folder(), m_neighbour.constData(), 0); // of an earlier process
    m_file = m_calls.openat(m_target.folder(), m_neighbour.constData(),
                            O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    m_exists = m_file >= 0;
    return errorOf(m_file);
}

int FilePlacement::append(const char *data, size_t size)
{
    if (const int error = writeAll(m_calls, m_file, data, size); error != 0)
        return error;
    m_size += static_cast<off_t>(size);
    return writeBack();
}

/// Has the full window written, and waits for the one before, so that what is dirty stays bounded.
int FilePlacement::writeBack()
{
    if (m_size - m_handedBack < writeBackWindow)
        return 0;
    const off_t begin = m_handedBack;
    m_handedBack = m_size;
    if (const int error = syncRange(begin, m_size, SYNC_FILE_RANGE_WRITE); error != 0)
        return error;
    return syncRange(std::max<off_t>(0, begin - writeBackWindow), begin,
                     SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE
                         | SYNC_FILE_RANGE_WAIT_AFTER);
}

int FilePlacement::syncRange(off_t begin, off_t end, unsigned flags) const
{
    if (begin >= end)
        return 0;
    const int error = errorOf(m_calls.syncFileRange(m_file, begin, end - begin, flags));
    // Where it cannot be had, the flush does all. A true failure is told only here.
    return error == EINVAL || error == ENOSYS || error == ESPIPE ? 0 : error;
}

int FilePlacement::appendFile(int source, off_t size, const std::stop_token &stop)
{
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    off_t copied = 0;
    while (!stop.stop_requested()) {
        const ssize_t count = m_calls.pread(source, block.get(), blockSize, copied);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            return copied == size ? 0 : EIO; // the source changed under our hands
        if (const int error = append(block.get(), static_cast<size_t>(count)); error != 0)
            return error;
        copied += count;
    }
    return ECANCELED;
}

int FilePlacement::finish(const FilePlace &present, const std::stop_token &stop)
{
    int error = flushAndClose();
    if (error == 0 && stop.stop_requested()) // flushing may have taken minutes
        error = ECANCELED;
    if (error == 0)
        error = present.error();
    if (error == 0 && !isSameFolder(present))
        error = ENODEV;
    if (error == 0)
        error = errorOf(m_calls.renameat(m_target.folder(), m_neighbour.constData(),
                                         m_target.folder(), m_target.name().constData()));
    if (error != 0)
        return error;
    m_exists = false;
    return flushFolder();
}

void FilePlacement::discard()
{
    if (m_file >= 0)
        m_calls.close(m_file);
    m_file = -1;
    if (m_exists)
        m_calls.unlinkat(m_target.folder(), m_neighbour.constData(), 0);
    m_exists = false;
    m_size = 0;
    m_handedBack = 0;
}

int FilePlacement::removeTarget() const
{
    return errorOf(m_calls.unlinkat(m_target.folder(), m_target.name().constData(), 0));
}

int FilePlacement::write(const QByteArray &data)
{
    int error = open();
    if (error == 0)
        error = append(data.constData(), static_cast<size_t>(data.size()));
    if (error == 0)
        error = finish(m_target, {});
    if (error != 0)
        discard();
    return error;
}

int FilePlacement::flushAndClose()
{
    const int flushing = errorOf(m_calls.fdatasync(m_file));
    // A medium that writes late may tell only now.
    const int closing = errorOf(m_calls.close(m_file));
    m_file = -1;
    return flushing != 0 ? flushing : closing;
}

int FilePlacement::flushFolder() const
{
    // The folder itself is held open for lookups only, which cannot be flushed.
    const int folder =
        m_calls.openat(m_target.folder(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (folder < 0)
        return errno;
    const int error = errorOf(m_calls.fsync(folder));
    m_calls.close(folder);
    // Some file systems cannot flush folders; theirs are written with the file.
    return error == EINVAL || error == ENOTSUP ? 0 : error;
}

bool FilePlacement::isSameFolder(const FilePlace &present) const
{
    struct stat then = {};
    struct stat now = {};
    return ::fstat(m_target.folder(), &then) == 0 && ::fstat(present.folder(), &now) == 0
           && then.st_dev == now.st_dev && then.st_ino == now.st_ino;
}
