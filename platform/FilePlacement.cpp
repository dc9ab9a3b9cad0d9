#include "platform/FilePlacement.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// errno of a call that answered -1, else 0.
int errorOf(int answer)
{
    return answer < 0 ? errno : 0;
}

} // namespace

const FileCalls &FileCalls::system()
{
    static const FileCalls calls = {
        [](int folder, const char *name, int flags, mode_t mode) {
            return ::openat(folder, name, flags, mode);
        },
        ::read,
        ::write,
        ::fdatasync,
        ::fsync,
        ::close,
        ::renameat,
        ::unlinkat,
        ::fstatvfs,
    };
    return calls;
}

const QByteArray FilePlacement::neighbourPrefix = ".quillo-part-";

FilePlacement::FilePlacement(const FilePlace &target, const FileCalls &calls)
    : m_target(target)
    , m_calls(calls)
    , m_neighbour(uniqueNeighbour())
{
}

/// Of this placement alone: another one of the same target may still be at work.
QByteArray FilePlacement::uniqueNeighbour()
{
    static std::atomic_uint64_t count = 0;
    return neighbourPrefix + QByteArray::number(::getpid()) + '-' + QByteArray::number(++count);
}

int FilePlacement::write(const QByteArray &data)
{
    if (m_target.error() != 0)
        return m_target.error();
    const auto fill = [&](int neighbour) {
        return writeAll(neighbour, data.constData(), static_cast<size_t>(data.size()));
    };
    return place(fill, {});
}

int FilePlacement::moveHere(const FilePlace &source, const std::stop_token &stop)
{
    struct stat status = {};
    const Descriptor file = source.openForReading(status);
    if (!file.isOpen())
        return errno;
    if (m_target.error() != 0)
        return m_target.error();
    if (isOnSameSystem(file.get())) {
        int error = errorOf(m_calls.fdatasync(file.get()));
        if (error == 0)
            error = stop.stop_requested() ? ECANCELED : renameHere(source.folder(), source.name());
        // Two views of one file system cannot be renamed between.
        if (error != EXDEV)
            return error;
    }
    const int error = copyHere(file.get(), status.st_size, stop);
    if (error == 0)
        m_calls.unlinkat(source.folder(), source.name().constData(), 0);
    return error;
}

int FilePlacement::place(const Fill &fill, const std::stop_token &stop)
{
    int error = fillAndFlush(fill);
    if (error == 0 && stop.stop_requested()) // flushing may have taken minutes
        error = ECANCELED;
    if (error == 0)
        error = renameHere(m_target.folder(), m_neighbour);
    if (error != 0)
        removeNeighbour();
    return error;
}

int FilePlacement::fillAndFlush(const Fill &fill)
{
    removeNeighbour(); // left by an earlier process of the same number
    const int neighbour =
        m_calls.openat(m_target.folder(), m_neighbour.constData(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (neighbour < 0)
        return errno;
    int error = fill(neighbour);
    if (error == 0)
        error = errorOf(m_calls.fdatasync(neighbour));
    // A medium that writes late may tell only now.
    const int closing = errorOf(m_calls.close(neighbour));
    return error != 0 ? error : closing;
}

int FilePlacement::copyHere(int source, off_t size, const std::stop_token &stop)
{
    if (const int error = checkSpace(size); error != 0)
        return error;
    return place([&](int neighbour) { return copyBlocks(source, neighbour, size, stop); }, stop);
}

int FilePlacement::copyBlocks(int source, int neighbour, off_t size,
                              const std::stop_token &stop) const
{
    const auto block = std::make_unique_for_overwrite<char[]>(blockSize);
    off_t copied = 0;
    while (!stop.stop_requested()) {
        const ssize_t count = m_calls.read(source, block.get(), blockSize);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        if (count == 0)
            return copied == size ? 0 : EIO; // the source changed under our hands
        const int error = writeAll(neighbour, block.get(), static_cast<size_t>(count));
        if (error != 0)
            return error;
        copied += count;
    }
    return ECANCELED;
}

int FilePlacement::writeAll(int descriptor, const char *data, size_t size) const
{
    size_t written = 0;
    while (written < size) {
        const ssize_t count = m_calls.write(descriptor, data + written, size - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return count < 0 ? errno : ENOSPC;
        written += static_cast<size_t>(count);
    }
    return 0;
}

int FilePlacement::renameHere(int folder, const QByteArray &name) const
{
    const int error = errorOf(
        m_calls.renameat(folder, name.constData(), m_target.folder(), m_target.name().constData()));
    return error != 0 ? error : flushFolder();
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

int FilePlacement::checkSpace(off_t size) const
{
    struct statvfs system = {};
    if (m_calls.fstatvfs(m_target.folder(), &system) != 0)
        return errno;
    const bool isKnown = system.f_blocks > 0;
    const auto needed = static_cast<fsblkcnt_t>(size);
    return isKnown && system.f_bavail * system.f_frsize < needed ? ENOSPC : 0;
}

bool FilePlacement::isOnSameSystem(int source) const
{
    struct stat from = {};
    struct stat to = {};
    return ::fstat(source, &from) == 0 && ::fstat(m_target.folder(), &to) == 0
           && from.st_dev == to.st_dev;
}

void FilePlacement::removeNeighbour() const
{
    m_calls.unlinkat(m_target.folder(), m_neighbour.constData(), 0);
}
