#pragma once

#include <QString>

/// Why a file could not be stored, as a value; what people read is worked out from it.
struct FileFailure
{
    enum class Reason {
        None,
        Cancelled,
        Full,     ///< `needed` bytes do not fit into the `free` ones
        TooLarge, ///< for the medium's file system, which has room
        ReadOnly,
        Gone, ///< the medium does not answer as one that is there
        Other,
    };

    Reason reason = Reason::None;
    QString text = {}; ///< the system's own words; empty without failure
    qint64 needed = 0; ///< bytes, for Full and TooLarge
    qint64 free = 0;   ///< bytes, for Full

    explicit operator bool() const { return reason != Reason::None; }

    /// Of an errno value; none for 0.
    [[nodiscard]] static FileFailure of(int error);
};
