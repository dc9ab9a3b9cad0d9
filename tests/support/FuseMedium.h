#pragma once

#include "tests/support/MediumControl.h"

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/// Makes a folder a medium of its own while it lives, with the rules of FAT: what the folder held
/// is on it, what is written on it stays in the folder. For tests of what a disk in the computer
/// never does. Needs FUSE; a test begins with
///
///     if (!medium.isAvailable())
///         GTEST_SKIP() << qPrintable(medium.reason());
///
/// Whoever mounts is the only one who may look. Main thread only; sizes and limits are bytes.
class FuseMedium
{
public:
    enum class Kind {
        Fat, ///< names, times and lengths as on FAT; each write goes to the medium at once
        /// The same, but writes are kept and handed on later, as to a real stick. Times of what was
        /// written are cut to one second only; what a fault leaves of a file may have holes.
        FatWriteBack,
    };

    explicit FuseMedium(const QString &folder, Kind kind = Kind::Fat);
    ~FuseMedium();
    FuseMedium(const FuseMedium &) = delete;
    FuseMedium &operator=(const FuseMedium &) = delete;

    [[nodiscard]] bool isAvailable() const { return m_reason.isEmpty(); }
    /// Why it could not be mounted.
    [[nodiscard]] const QString &reason() const { return m_reason; }

    /// The next `bytes` are written, later ones fail with this errno value.
    void failWritesAfter(qint64 bytes, int error);
    /// The medium dies in the middle of the write that goes beyond the next `bytes`: everything
    /// fails from there on, but it stays mounted.
    void dieAfter(qint64 bytes) { failWritesAfter(bytes, 0); }
    /// From now on every fsync() fails with this errno value; 0 for none.
    void failFlushes(int error) { m_control->flushError = error; }
    /// Files, in whole clusters of 4 KiB, take this much at most, and statfs() says so; 0 for as
    /// much as the file system below.
    void setCapacity(qint64 bytes) { m_control->capacity = bytes; }
    /// statfs() says this from now on, whatever is true.
    void tellSpace(qint64 total, qint64 free);
    void setBytesPerSecond(qint64 bytes) { m_control->bytesPerSecond = bytes; }
    /// Takes all of these back. What has died stays dead.
    void heal();

    [[nodiscard]] qint64 written() const { return m_control->written; }

    /// Takes the medium away at once, as a pen is pulled: what is open on it is broken, what it
    /// held can be looked at in the folder. For a pen of PenFolder call its pullOut() right behind
    /// it; after plugIn() lay a new medium over it.
    void pull();

private:
    void mount(Kind kind);

    const QString m_folder;
    QTemporaryDir m_files;
    MediumControl *m_control = nullptr;
    QProcess m_program;
    QString m_reason;
    bool m_isMounted = false;
};
