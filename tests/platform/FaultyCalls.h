#pragma once

#include "platform/FilePlacement.h"

#include <QByteArrayList>

#include <algorithm>
#include <cerrno>
#include <unistd.h>

/// System calls of which some fail. A call is counted before it is made.
class FaultyCalls
{
public:
    enum class After { Recovers, StaysGone };

    FaultyCalls()
    {
        guard("openat", calls.openat);
        guard("pread", calls.pread);
        guard("syncFileRange", calls.syncFileRange);
        guard("fdatasync", calls.fdatasync);
        guard("fsync", calls.fsync);
        guard("renameat", calls.renameat);
        guard("unlinkat", calls.unlinkat);
        guard("fstatvfs", calls.fstatvfs);
        calls.write = [this](int file, const void *data, size_t size) -> ssize_t {
            return fails("write") ? -1 : ::write(file, data, std::min(size, longestWrite));
        };
        calls.close = [this](int file) {
            const bool failing = fails("close");
            const int result = ::close(file); // a close that fails has closed all the same
            return failing ? -1 : result;
        };
    }

    FileCalls calls = FileCalls::system();
    QByteArrayList made;
    qsizetype failAt = -1; ///< index into `made`
    QByteArray failKind;   ///< or every call of this kind
    int error = EIO;
    After after = After::Recovers;
    size_t longestWrite = SIZE_MAX;

private:
    template <typename Result, typename... Arguments>
    void guard(const char *kind, std::function<Result(Arguments...)> &call)
    {
        call = [this, kind, real = call](Arguments... arguments) -> Result {
            return fails(kind) ? -1 : real(arguments...);
        };
    }

    bool fails(const char *kind)
    {
        made.append(kind);
        const qsizetype index = made.size() - 1;
        const bool isGone = after == After::StaysGone && failAt >= 0 && index > failAt;
        if (index != failAt && failKind != kind && !isGone)
            return false;
        errno = isGone ? ENOTCONN : error;
        return true;
    }
};
