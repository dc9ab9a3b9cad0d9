#pragma once

#include "platform/Descriptor.h"
#include "platform/FileFailure.h"
#include "platform/FilePlacement.h"

#include <QString>

#include <memory>
#include <stop_token>

/// Where the bytes of a file wait for their name.
enum class LoadingPlace {
    Medium,   ///< as a hidden neighbour of the target
    Computer, ///< until the old file has made room
    Nowhere,
};

/// Beside the old file where there is room for both; else on the computer where the old one's room
/// would do. A size of -1 is not known and tried on the medium.
[[nodiscard]] LoadingPlace loadingPlace(qint64 size, const Room &room);

/// The bytes of a download until they stand under their name. On the computer they are a file
/// without a name, so nothing of a program that was killed remains there; a neighbour is removed
/// with the object. One thread at a time.
class IncomingFile
{
public:
    /// `target` is a path as FileManager takes it.
    explicit IncomingFile(QString target, const FileCalls &calls = FileCalls::system());
    IncomingFile(const IncomingFile &) = delete;
    IncomingFile &operator=(const IncomingFile &) = delete;

    /// Empty again, where `size` bytes find room; -1 when their number is not known.
    [[nodiscard]] FileFailure begin(qint64 size);
    [[nodiscard]] FileFailure append(const char *data, qint64 size);

    /// Puts the whole file under its name. What waits on the computer may be placed again after a
    /// failure; it has the old file removed where that makes the room, and is not stopped then.
    [[nodiscard]] FileFailure place(const std::stop_token &stop);

    /// Drops the bytes at once.
    void discard();

    [[nodiscard]] qint64 size() const { return m_size; }
    [[nodiscard]] bool isOnComputer() const { return m_onComputer.isOpen(); }

private:
    [[nodiscard]] FilePlace target() const;
    [[nodiscard]] FileFailure beginOnMedium(qint64 size);
    [[nodiscard]] FileFailure beginOnComputer(qint64 size, const Room &medium);
    [[nodiscard]] FileFailure placeFromComputer(const std::stop_token &stop);
    [[nodiscard]] FileFailure failed(int error);

    const QString m_target;
    const FileCalls &m_calls;
    std::unique_ptr<FilePlacement> m_onMedium;
    Descriptor m_onComputer;
    qint64 m_size = 0;
    qint64 m_announced = -1;
};
