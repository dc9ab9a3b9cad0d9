#pragma once

#include "platform/Descriptor.h"

#include <QByteArray>
#include <QString>

#include <sys/stat.h>
#include <sys/types.h>

class VolumeSource;

/// Where a path of the program leads: the folder it stands in and its name there. All work on the
/// file goes through the two, so nothing that is renamed or linked meanwhile leads it out of the
/// volume. Lives for one operation on one thread only: what it holds open keeps its volume busy.
class FilePlace
{
public:
    /// Without `volumes` no volume is mounted.
    FilePlace(const QString &path, const VolumeSource *volumes);

    /// Why the folder cannot be reached, as an errno value; 0 when it can.
    [[nodiscard]] int error() const;

    /// Opened on first use; valid while there is no error().
    [[nodiscard]] int folder() const;
    /// "." for the folder itself.
    [[nodiscard]] const QByteArray &name() const { return m_name; }

    /// AT_SYMLINK_NOFOLLOW on a volume, where a link in the last place is never followed, else 0.
    [[nodiscard]] int lookupFlags() const;

    /// Opens what is there; errno is set when the result is not open. Needs no folder().
    [[nodiscard]] Descriptor open(int flags, mode_t mode = 0) const;
    /// Opens a regular file for reading and tells its status; anything else is an error.
    [[nodiscard]] Descriptor openForReading(struct stat &status) const;

    /// The system's path of the same file.
    [[nodiscard]] QString realPath() const;

private:
    void lookUp(const QString &path, const VolumeSource *volumes);
    [[nodiscard]] bool findInVisit(const QString &path);
    void split(const QByteArray &path);
    void openFolder() const;
    [[nodiscard]] bool isOnVolume() const { return m_top.isOpen() || m_visited >= 0; }

    Descriptor m_top;    ///< the volume's root; not open for plain paths
    int m_visited = -1;  ///< the folder when the thread visits it; the visit's own
    QByteArray m_root;   ///< the volume's root by name
    QByteArray m_parent; ///< below the root or plain; empty or with a "/" at its end
    QByteArray m_name;
    QString m_realPath;
    int m_lookUpError = 0;
    mutable Descriptor m_folder;
    mutable int m_folderError = 0;
};
