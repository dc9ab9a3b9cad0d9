#pragma once

#include "platform/FilePlace.h"

#include <QByteArray>

#include <functional>
#include <stop_token>
#include <sys/statvfs.h>
#include <sys/types.h>

/// What a placement asks of the system; every member takes the system call's arguments and answers
/// as it does. Tests have them fail one by one.
struct FileCalls
{
    std::function<int(int, const char *, int, mode_t)> openat;
    std::function<ssize_t(int, void *, size_t, off_t)> pread;
    std::function<ssize_t(int, const void *, size_t)> write;
    std::function<int(int, off_t, off_t, unsigned)> syncFileRange;
    std::function<int(int)> fdatasync;
    std::function<int(int)> fsync;
    std::function<int(int)> close;
    std::function<int(int, const char *, int, const char *)> renameat;
    std::function<int(int, const char *, int)> unlinkat;
    std::function<int(int, struct statvfs *)> fstatvfs;

    [[nodiscard]] static const FileCalls &system();
};

/// Writes all of it, however often the system takes a part or is interrupted: 0 or an errno value.
[[nodiscard]] int writeAll(const FileCalls &calls, int file, const char *data, size_t size);

/// What a file system has to offer for a file. Bytes.
struct Room
{
    bool isKnown = false; ///< some file systems tell no size: they count as having room
    qint64 free = 0;
    qint64 unit = 1; ///< files take multiples of it
    qint64 old = 0;  ///< what the file takes that is to be replaced

    /// Whether a file of that size finds room in `bytes`, its entry in the folder included.
    [[nodiscard]] bool fits(qint64 size, qint64 bytes) const;
};

/// Puts a file under a name so that the name holds the old file or the whole new one: the new one
/// is written to a hidden neighbour, flushed to the medium and renamed. Operations answer 0 or an
/// errno value, ECANCELED when stopped. One thread at a time.
class FilePlacement
{
public:
    static constexpr qsizetype blockSize = 1024 * 1024;

    /// How the names of neighbours begin.
    static const QByteArray neighbourPrefix;

    explicit FilePlacement(FilePlace target, const FileCalls &calls = FileCalls::system());
    /// Removes a neighbour that was not renamed.
    ~FilePlacement();
    FilePlacement(const FilePlacement &) = delete;
    FilePlacement &operator=(const FilePlacement &) = delete;

    /// Whether a placement of this process still works on a neighbour of that name.
    [[nodiscard]] static bool isAtWork(const QByteArray &neighbour);

    [[nodiscard]] int room(Room &room) const;
    /// EFBIG where the medium is known not to hold a file of that size; some tell after open()
    /// only.
    [[nodiscard]] int checkSize(qint64 size) const;

    /// Makes the neighbour, empty. What is appended is written back as it comes, so that at most
    /// two windows of it are left to the flush.
    [[nodiscard]] int open();
    [[nodiscard]] int append(const char *data, size_t size);
    /// Appends `size` bytes of an open file, looking at `stop` before each block.
    [[nodiscard]] int appendFile(int source, off_t size, const std::stop_token &stop);
    /// Flushes and renames. ENODEV when the target's folder is no longer the one at `present`.
    [[nodiscard]] int finish(const FilePlace &present, const std::stop_token &stop);
    /// Gives up and removes the neighbour.
    void discard();

    /// Removes the file that is to be replaced.
    [[nodiscard]] int removeTarget() const;

    /// open(), append() and finish() in one.
    [[nodiscard]] int write(const QByteArray &data);

private:
    [[nodiscard]] int writeBack();
    [[nodiscard]] int syncRange(off_t begin, off_t end, unsigned flags) const;
    [[nodiscard]] int flushAndClose();
    [[nodiscard]] int flushFolder() const;
    [[nodiscard]] bool isSameFolder(const FilePlace &present) const;

    const FilePlace m_target;
    const FileCalls &m_calls;
    const QByteArray m_neighbour;
    int m_file = -1;
    bool m_exists = false; ///< the neighbour, as far as we know
    off_t m_size = 0;
    off_t m_handedBack = 0; ///< how far the medium was told to write
};
