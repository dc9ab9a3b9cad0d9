// A file system that shows a folder at the place of that folder, with the rules of FAT and with
// faults as a test asks for them:
//
//     fault_medium FOLDER CONTROL
//
// FOLDER is the mount point and what is shown there. CONTROL is a file that holds a MediumControl.
// Prints "ready" once it answers, and ends with the process that started it.

#define FUSE_USE_VERSION 35

#include "tests/support/MediumControl.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fuse.h>
#include <mutex>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr off_t clusterSize = 4096;
constexpr off_t longestFile = 0xffffffff;

int folder = -1; ///< what is shown; the working folder once the medium is mounted
MediumControl *control = nullptr;
std::mutex writing;     ///< the medium writes one thing at a time
Clock::time_point idle; ///< when it has written what it was given

/// A count or 0, or the negative errno value.
int result(ssize_t value)
{
    return value < 0 ? -errno : static_cast<int>(value);
}

int fileOf(const fuse_file_info *info)
{
    return static_cast<int>(info->fh);
}

std::string placeOf(const char *path)
{
    return std::string(".") + path;
}

bool isAllowed(const char *path)
{
    const std::string name = std::strrchr(path, '/') + 1;
    const auto isForbidden = [](char character) {
        return (character >= 0 && character < ' ')
               || std::strchr("\"*:<>?\\|", character) != nullptr;
    };
    return name.back() != ' ' && name.back() != '.'
           && std::none_of(name.begin(), name.end(), isForbidden);
}

// Space.

off_t clustersOf(off_t size)
{
    return (size + clusterSize - 1) / clusterSize * clusterSize;
}

off_t freeSpace()
{
    if (control->capacity <= 0)
        return LLONG_MAX;
    off_t left = control->capacity;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(".")) {
        std::error_code vanished;
        if (entry.is_regular_file(vanished))
            left -= clustersOf(static_cast<off_t>(entry.file_size(vanished)));
    }
    return std::max<off_t>(left, 0);
}

/// What of a write may be done, and the error of the rest; 0 ends the program.
struct Allowed
{
    off_t size;
    int error;

    void limit(off_t bound, int reason)
    {
        if (bound < size)
            *this = {std::max<off_t>(bound, 0), reason};
    }
};

Allowed allowedOf(int file, off_t size, off_t offset)
{
    Allowed allowed = {size, 0};
    allowed.limit(longestFile - offset, EFBIG);
    struct stat status = {};
    const off_t taken = ::fstat(file, &status) == 0 ? clustersOf(status.st_size) : 0;
    if (const off_t left = freeSpace(); clustersOf(offset + size) - taken > left)
        allowed.limit(taken + left / clusterSize * clusterSize - offset, ENOSPC);
    if (control->failsWrites)
        allowed.limit(control->failWritesAt - control->written, control->writeError);
    return allowed;
}

void takeTimeFor(off_t size)
{
    const std::int64_t speed = control->bytesPerSecond;
    if (speed <= 0)
        return;
    const std::chrono::duration<double> needed(double(size) / double(speed));
    idle = std::max(idle, Clock::now()) + std::chrono::duration_cast<Clock::duration>(needed);
    std::this_thread::sleep_until(idle);
}

// The operations. What is not here (links, modes, new folders) is refused.

void *begin(fuse_conn_info *connection, fuse_config *)
{
    connection->time_gran = 1'000'000'000;
    connection->want &= ~static_cast<unsigned>(FUSE_CAP_WRITEBACK_CACHE);
    if (control->writeBack)
        connection->want |= connection->capable & FUSE_CAP_WRITEBACK_CACHE;
    if (::fchdir(folder) == 0)
        std::puts("ready");
    std::fflush(stdout);
    return nullptr;
}

int status(const char *path, struct stat *status, fuse_file_info *info)
{
    const int told =
        info != nullptr ? ::fstat(fileOf(info), status) : ::lstat(placeOf(path).c_str(), status);
    status->st_mode = (status->st_mode & S_IFMT) | 0755;
    for (timespec *time : {&status->st_mtim, &status->st_ctim, &status->st_atim})
        *time = {time->tv_sec & ~1L, 0};
    return result(told);
}

int list(const char *path, void *buffer, fuse_fill_dir_t fill, off_t, fuse_file_info *,
         fuse_readdir_flags)
{
    std::error_code error;
    for (const auto &entry : std::filesystem::directory_iterator(placeOf(path), error))
        fill(buffer, entry.path().filename().c_str(), nullptr, 0, fuse_fill_dir_flags{});
    return -error.value();
}

int openAt(const char *path, fuse_file_info *info, int more)
{
    int flags = (info->flags & ~O_APPEND) | more | O_CLOEXEC; // the kernel knows the end
    if (control->writeBack && (flags & O_ACCMODE) == O_WRONLY)
        flags = (flags & ~O_ACCMODE) | O_RDWR;
    const int file = ::open(placeOf(path).c_str(), flags, 0644);
    info->fh = static_cast<std::uint64_t>(file);
    return file < 0 ? -errno : 0;
}

int writeTo(const char *, const char *data, size_t size, off_t offset, fuse_file_info *info)
{
    const std::lock_guard lock(writing);
    const Allowed allowed = allowedOf(fileOf(info), static_cast<off_t>(size), offset);
    takeTimeFor(allowed.size);
    const int count =
        result(::pwrite(fileOf(info), data, static_cast<size_t>(allowed.size), offset));
    if (count < 0)
        return count;
    control->written += count;
    const bool isCut = allowed.size < static_cast<off_t>(size);
    if (isCut && allowed.error == 0)
        ::_exit(0);
    // The kernel takes a short answer to what it hands on late for a good one.
    if (isCut && (count == 0 || control->writeBack))
        return -allowed.error;
    return count;
}

int resize(const char *path, off_t size, fuse_file_info *info)
{
    if (size > longestFile)
        return -EFBIG;
    return result(info != nullptr ? ::ftruncate(fileOf(info), size)
                                  : ::truncate(placeOf(path).c_str(), size));
}

int tellSpace(const char *, struct statvfs *space)
{
    const int told = result(::fstatvfs(folder, space));
    if (!control->tellsSpace && control->capacity <= 0)
        return told;
    const off_t total = control->tellsSpace ? control->toldTotal : control->capacity;
    const off_t left = control->tellsSpace ? std::int64_t(control->toldFree) : freeSpace();
    space->f_bsize = space->f_frsize = clusterSize;
    space->f_blocks = static_cast<fsblkcnt_t>(total / clusterSize);
    space->f_bfree = space->f_bavail = static_cast<fsblkcnt_t>(left / clusterSize);
    return told;
}

fuse_operations operations()
{
    fuse_operations all = {};
    all.init = begin;
    all.getattr = status;
    all.readdir = list;
    all.open = [](const char *path, fuse_file_info *info) {
        return openAt(path, info, 0);
    };
    all.create = [](const char *path, mode_t, fuse_file_info *info) {
        return isAllowed(path) ? openAt(path, info, O_CREAT) : -EINVAL;
    };
    all.read = [](const char *, char *data, size_t size, off_t offset, fuse_file_info *info) {
        return result(::pread(fileOf(info), data, size, offset));
    };
    all.write = writeTo;
    all.fsync = [](const char *, int, fuse_file_info *) {
        return -control->flushError;
    };
    all.fsyncdir = all.fsync;
    all.release = [](const char *, fuse_file_info *info) {
        return result(::close(fileOf(info)));
    };
    all.truncate = resize;
    all.unlink = [](const char *path) {
        return result(::unlink(placeOf(path).c_str()));
    };
    all.rename = [](const char *from, const char *to, unsigned) {
        return isAllowed(to) ? result(::rename(placeOf(from).c_str(), placeOf(to).c_str()))
                             : -EINVAL;
    };
    all.utimens = [](const char *path, const timespec times[2], fuse_file_info *) {
        return result(::utimensat(AT_FDCWD, placeOf(path).c_str(), times, AT_SYMLINK_NOFOLLOW));
    };
    all.statfs = tellSpace;
    return all;
}

bool openMedium(const char *path, const char *controlFile)
{
    folder = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int file = ::open(controlFile, O_RDWR | O_CLOEXEC);
    void *mapped =
        ::mmap(nullptr, sizeof(MediumControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    control = static_cast<MediumControl *>(mapped);
    return folder >= 0 && mapped != MAP_FAILED;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3 || !openMedium(argv[1], argv[2])) {
        std::fprintf(stderr, "fault_medium FOLDER CONTROL: %s\n", std::strerror(errno));
        return 2;
    }
    ::umask(0);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    char foreground[] = "-f";
    char *arguments[] = {argv[0], foreground, argv[1]};
    const fuse_operations all = operations();
    return fuse_main(3, arguments, &all, nullptr);
}
