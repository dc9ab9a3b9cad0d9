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
    std::function<ssize_t(int, void *, size_t)> read;
    std::function<ssize_t(int, const void *, size_t)> write;
    std::function<int(int)> fdatasync;
    std::function<int(int)> fsync;
    std::function<int(int)> close;
    std::function<int(int, const char *, int, const char *)> renameat;
    std::function<int(int, const char *, int)> unlinkat;
    std::function<int(int, struct statvfs *)> fstatvfs;

    [[nodiscard]] static const FileCalls &system();
};

/// Puts a file under a name so that the name holds the old file, nothing, or the whole new one:
/// the new one is written to a hidden neighbour, flushed to the medium and renamed. A failure
/// removes the neighbour. Operations answer 0 or an errno value, ECANCELED when stopped.
class FilePlacement
{
public:
    static constexpr qsizetype blockSize = 1024 * 1024;

    /// How the names of neighbours begin.
    static const QByteArray neighbourPrefix;

    /// `target` must outlive the placement.
    explicit FilePlacement(const FilePlace &target, const FileCalls &calls = FileCalls::system());
    explicit FilePlacement(FilePlace &&, const FileCalls & = FileCalls::system()) = delete;

    [[nodiscard]] int write(const QByteArray &data);

    /// Moves the file here. On one file system it is flushed and renamed; else it is copied in
    /// blocks, looking at `stop` before each, and removed last. A copied source that cannot be
    /// removed is left: the new file stands.
    [[nodiscard]] int moveHere(const FilePlace &source, const std::stop_token &stop);

private:
    using Fill = std::function<int(int neighbour)>;

    [[nodiscard]] static QByteArray uniqueNeighbour();
    [[nodiscard]] int place(const Fill &fill, const std::stop_token &stop);
    [[nodiscard]] int fillAndFlush(const Fill &fill);
    [[nodiscard]] int copyHere(int source, off_t size, const std::stop_token &stop);
    [[nodiscard]] int copyBlocks(int source, int neighbour, off_t size,
                                 const std::stop_token &stop) const;
    [[nodiscard]] int writeAll(int descriptor, const char *data, size_t size) const;
    [[nodiscard]] int renameHere(int folder, const QByteArray &name) const;
    [[nodiscard]] int flushFolder() const;
    [[nodiscard]] int checkSpace(off_t size) const;
    [[nodiscard]] bool isOnSameSystem(int source) const;
    void removeNeighbour() const;

    const FilePlace &m_target;
    const FileCalls &m_calls;
    const QByteArray m_neighbour;
};
