// A file system that shows a folder at the place of that folder, with faults as a test asks for
// them and, on request, with the rules of FAT:
//
//     fault_medium FOLDER CONTROL
//
// FOLDER is the mount point and what is shown there. CONTROL is a file that holds a MediumControl.
// Prints "ready" once it answers, and ends with the process that started it.

#define FUSE_USE_VERSION 35

#include "tests/support/MediumControl.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <dirent.h>
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
constexpr off_t longestFatFile = 0xffffffff;

/// The one medium of this process.
struct Medium
{
    int folder = -1;
    MediumControl *control = nullptr;
    std::atomic<off_t> used = 0; ///< bytes in whole clusters
    std::mutex writing;          ///< the medium writes one thing at a time
    Clock::time_point idle;      ///< when it has written what it was given
};
Medium medium;

int result(int value)
{
    return value < 0 ? -errno : 0;
}

int fileOf(const fuse_file_info *info)
{
    return static_cast<int>(info->fh);
}

// Names.

std::wstring folded(const std::string &name)
{
    std::wstring wide(name.size(), L'\0');
    const size_t length = std::mbstowcs(wide.data(), name.c_str(), wide.size());
    wide.resize(length == static_cast<size_t>(-1) ? 0 : length);
    for (wchar_t &character : wide)
        character = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(character)));
    return wide;
}

/// The name as the folder spells it; as given where there is none of that name.
std::string spelling(const std::string &folder, std::string name)
{
    name.erase(name.find_last_not_of('.') + 1);
    struct stat status = {};
    if (::fstatat(medium.folder, (folder + name).c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
        return name;
    DIR *entries =
        ::fdopendir(::openat(medium.folder, folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (entries == nullptr)
        return name;
    const std::wstring wanted = folded(name);
    while (const dirent *entry = ::readdir(entries)) {
        if (!wanted.empty() && folded(entry->d_name) == wanted)
            name = entry->d_name;
    }
    ::closedir(entries);
    return name;
}

/// The path relative to the medium's folder.
std::string placeOf(const char *path)
{
    const std::string names = path;
    if (!medium.control->likeFat)
        return "." + names;
    std::string place = "./";
    for (size_t begin = 1; begin < names.size();) {
        const size_t end = std::min(names.find('/', begin), names.size());
        place += spelling(place, names.substr(begin, end - begin)) + '/';
        begin = end + 1;
    }
    place.pop_back();
    return place;
}

bool isAllowed(const char *path)
{
    const std::string name = std::strrchr(path, '/') + 1;
    const auto isForbidden = [](char character) {
        return (character >= 0 && character < ' ')
               || std::strchr("\"*:<>?\\|", character) != nullptr;
    };
    return !medium.control->likeFat
           || (name.back() != ' ' && std::none_of(name.begin(), name.end(), isForbidden));
}

// Space.

off_t clustersOf(off_t size)
{
    return (size + clusterSize - 1) / clusterSize * clusterSize;
}

off_t clustersOf(const struct stat &status)
{
    return S_ISREG(status.st_mode) && status.st_nlink > 0 ? clustersOf(status.st_size) : 0;
}

off_t clustersOf(int file)
{
    struct stat status = {};
    return ::fstat(file, &status) == 0 ? clustersOf(status) : 0;
}

off_t clustersOf(const std::string &place)
{
    struct stat status = {};
    return ::fstatat(medium.folder, place.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0
               ? clustersOf(status)
               : 0;
}

off_t freeSpace()
{
    const off_t capacity = medium.control->capacity;
    return capacity > 0 ? std::max<off_t>(capacity - medium.used, 0) : LLONG_MAX;
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
    const MediumControl &control = *medium.control;
    Allowed allowed = {size, 0};
    if (control.likeFat)
        allowed.limit(longestFatFile - offset, EFBIG);
    const off_t taken = clustersOf(file);
    if (control.capacity > 0 && clustersOf(offset + size) - taken > freeSpace())
        allowed.limit(taken + freeSpace() / clusterSize * clusterSize - offset, ENOSPC);
    if (control.failsWrites)
        allowed.limit(control.failWritesAt - control.written, control.writeError);
    return allowed;
}

void takeTimeFor(off_t size)
{
    const std::int64_t speed = medium.control->bytesPerSecond;
    if (speed <= 0)
        return;
    const std::chrono::duration<double> needed(double(size) / double(speed));
    medium.idle =
        std::max(medium.idle, Clock::now()) + std::chrono::duration_cast<Clock::duration>(needed);
    std::this_thread::sleep_until(medium.idle);
}

// The operations.

void *begin(fuse_conn_info *connection, fuse_config *config)
{
    config->nullpath_ok = 1;
    config->hard_remove = 1;
    config->entry_timeout = 0; // one file has many spellings
    config->attr_timeout = 0;
    connection->time_gran = medium.control->likeFat ? 1'000'000'000 : 1;
    connection->want &= ~static_cast<unsigned>(FUSE_CAP_WRITEBACK_CACHE);
    if (medium.control->writeBack)
        connection->want |= connection->capable & FUSE_CAP_WRITEBACK_CACHE;
    std::puts("ready");
    std::fflush(stdout);
    return nullptr;
}

void cutTime(timespec &time)
{
    time = {time.tv_sec & ~1L, 0};
}

int status(const char *path, struct stat *status, fuse_file_info *info)
{
    const int told = info != nullptr ? ::fstat(fileOf(info), status)
                                     : ::fstatat(medium.folder, placeOf(path).c_str(), status,
                                                 AT_SYMLINK_NOFOLLOW);
    if (told == 0 && medium.control->likeFat) {
        status->st_mode = (status->st_mode & S_IFMT) | 0755;
        for (timespec *time : {&status->st_mtim, &status->st_ctim, &status->st_atim})
            cutTime(*time);
    }
    return result(told);
}

DIR *folderOf(const fuse_file_info *info)
{
    return reinterpret_cast<DIR *>(info->fh);
}

int openFolder(const char *path, fuse_file_info *info)
{
    const int folder =
        ::openat(medium.folder, placeOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return -errno;
    info->fh = reinterpret_cast<std::uint64_t>(::fdopendir(folder));
    return 0;
}

int list(const char *, void *buffer, fuse_fill_dir_t fill, off_t, fuse_file_info *info,
         fuse_readdir_flags)
{
    DIR *folder = folderOf(info);
    ::rewinddir(folder);
    while (const dirent *entry = ::readdir(folder)) {
        struct stat kind = {};
        kind.st_mode = static_cast<mode_t>(DTTOIF(entry->d_type));
        fill(buffer, entry->d_name, &kind, 0, fuse_fill_dir_flags{});
    }
    return 0;
}

int closeFolder(const char *, fuse_file_info *info)
{
    return result(::closedir(folderOf(info)));
}

int openAt(const std::string &place, fuse_file_info *info, int more)
{
    int flags = (info->flags & ~O_APPEND) | more | O_CLOEXEC; // the kernel knows the end
    if (medium.control->writeBack && (flags & O_ACCMODE) == O_WRONLY)
        flags = (flags & ~O_ACCMODE) | O_RDWR;
    const off_t before = (flags & O_TRUNC) != 0 ? clustersOf(place) : 0;
    const int file = ::openat(medium.folder, place.c_str(), flags, 0644);
    if (file < 0)
        return -errno;
    medium.used -= before;
    info->fh = static_cast<std::uint64_t>(file);
    return 0;
}

int openFile(const char *path, fuse_file_info *info)
{
    return openAt(placeOf(path), info, 0);
}

int createFile(const char *path, mode_t, fuse_file_info *info)
{
    return isAllowed(path) ? openAt(placeOf(path), info, O_CREAT) : -EINVAL;
}

int readFrom(const char *, char *data, size_t size, off_t offset, fuse_file_info *info)
{
    const ssize_t count = ::pread(fileOf(info), data, size, offset);
    return count < 0 ? -errno : static_cast<int>(count);
}

int writeTo(const char *, const char *data, size_t size, off_t offset, fuse_file_info *info)
{
    const std::lock_guard lock(medium.writing);
    const off_t before = clustersOf(fileOf(info));
    const Allowed allowed = allowedOf(fileOf(info), static_cast<off_t>(size), offset);
    takeTimeFor(allowed.size);
    const ssize_t count = ::pwrite(fileOf(info), data, static_cast<size_t>(allowed.size), offset);
    if (count < 0)
        return -errno;
    medium.used += clustersOf(fileOf(info)) - before;
    medium.control->written += count;
    const bool isCut = allowed.size < static_cast<off_t>(size);
    if (isCut && allowed.error == 0)
        ::_exit(0);
    // The kernel takes a short answer to what it hands on late for a good one.
    if (isCut && (count == 0 || medium.control->writeBack))
        return -allowed.error;
    return static_cast<int>(count);
}

int flushFile(const char *, int, fuse_file_info *)
{
    ++medium.control->flushes;
    return -medium.control->flushError;
}

int closeFile(const char *, fuse_file_info *info)
{
    return result(::close(fileOf(info)));
}

int resize(const char *path, off_t size, fuse_file_info *info)
{
    const std::lock_guard lock(medium.writing);
    const int file = info != nullptr
                         ? ::dup(fileOf(info))
                         : ::openat(medium.folder, placeOf(path).c_str(), O_WRONLY | O_CLOEXEC);
    const off_t before = file < 0 ? 0 : clustersOf(file);
    int error = file < 0 ? errno : 0;
    if (error == 0 && medium.control->likeFat && size > longestFatFile)
        error = EFBIG;
    if (error == 0 && clustersOf(size) - before > freeSpace())
        error = ENOSPC;
    if (error == 0 && ::ftruncate(file, size) != 0)
        error = errno;
    if (error == 0)
        medium.used += clustersOf(size) - before;
    if (file >= 0)
        ::close(file);
    return -error;
}

int makeFolder(const char *path, mode_t)
{
    return isAllowed(path) ? result(::mkdirat(medium.folder, placeOf(path).c_str(), 0755))
                           : -EINVAL;
}

int removeFile(const char *path)
{
    const std::string place = placeOf(path);
    const off_t size = clustersOf(place);
    const int removed = result(::unlinkat(medium.folder, place.c_str(), 0));
    medium.used -= removed == 0 ? size : 0;
    return removed;
}

int removeFolder(const char *path)
{
    return result(::unlinkat(medium.folder, placeOf(path).c_str(), AT_REMOVEDIR));
}

int renameFile(const char *from, const char *to, unsigned flags)
{
    if (!isAllowed(to))
        return -EINVAL;
    const std::string source = placeOf(from);
    std::string target = placeOf(to);
    const bool isRespelling = source == target;
    if (isRespelling)
        target.replace(target.rfind('/'), std::string::npos, std::strrchr(to, '/'));
    const off_t replaced = isRespelling ? 0 : clustersOf(target);
    const int renamed =
        result(::renameat2(medium.folder, source.c_str(), medium.folder, target.c_str(), flags));
    medium.used -= renamed == 0 ? replaced : 0;
    return renamed;
}

int setTimes(const char *path, const timespec times[2], fuse_file_info *info)
{
    if (info != nullptr)
        return result(::futimens(fileOf(info), times));
    return result(::utimensat(medium.folder, placeOf(path).c_str(), times, AT_SYMLINK_NOFOLLOW));
}

int setMode(const char *path, mode_t mode, fuse_file_info *info)
{
    if (medium.control->likeFat)
        return -EPERM;
    return result(info != nullptr ? ::fchmod(fileOf(info), mode)
                                  : ::fchmodat(medium.folder, placeOf(path).c_str(), mode, 0));
}

int refuseLink(const char *, const char *)
{
    return -EPERM;
}

int tellSpace(const char *, struct statvfs *space)
{
    const MediumControl &control = *medium.control;
    const int told = result(::fstatvfs(medium.folder, space));
    if (!control.tellsSpace && control.capacity <= 0)
        return told;
    const off_t total = control.tellsSpace ? control.toldTotal : control.capacity;
    const off_t left = control.tellsSpace ? std::int64_t(control.toldFree) : freeSpace();
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
    all.opendir = openFolder;
    all.readdir = list;
    all.releasedir = closeFolder;
    all.fsyncdir = flushFile;
    all.open = openFile;
    all.create = createFile;
    all.read = readFrom;
    all.write = writeTo;
    all.fsync = flushFile;
    all.release = closeFile;
    all.truncate = resize;
    all.mkdir = makeFolder;
    all.unlink = removeFile;
    all.rmdir = removeFolder;
    all.rename = renameFile;
    all.utimens = setTimes;
    all.chmod = setMode;
    all.symlink = refuseLink;
    all.link = refuseLink;
    all.statfs = tellSpace;
    return all;
}

off_t usedSpace(const char *folder)
{
    off_t used = 0;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            used += clustersOf(static_cast<off_t>(entry.file_size()));
    }
    return used;
}

bool openMedium(const char *folder, const char *controlFile)
{
    medium.folder = ::open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int file = ::open(controlFile, O_RDWR | O_CLOEXEC);
    if (medium.folder < 0 || file < 0)
        return false;
    void *mapped =
        ::mmap(nullptr, sizeof(MediumControl), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (mapped == MAP_FAILED)
        return false;
    medium.control = static_cast<MediumControl *>(mapped);
    medium.used = usedSpace(folder);
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3 || !openMedium(argv[1], argv[2])) {
        std::fprintf(stderr, "fault_medium FOLDER CONTROL: %s\n", std::strerror(errno));
        return 2;
    }
    std::setlocale(LC_ALL, "C.UTF-8");
    ::umask(0);
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    std::string foreground = "-f";
    std::array<char *, 3> arguments = {argv[0], foreground.data(), argv[1]};
    const fuse_operations all = operations();
    return fuse_main(static_cast<int>(arguments.size()), arguments.data(), &all, nullptr);
}
