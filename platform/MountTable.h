#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

/// One line of the kernel's mount table.
struct Mount
{
    int id = 0;
    QByteArray device; ///< "major:minor"
    QString root;      ///< what of the file system is shown; "/" for all of it
    QString mountPoint;
    QByteArray type;
    QString source;

    friend bool operator==(const Mount &, const Mount &) = default;
};

/// Parses the text of /proc/self/mountinfo; lines that are malformed are left out.
[[nodiscard]] QList<Mount> parseMountTable(const QByteArray &text);

/// The mounts a person would call volumes: media, but neither the parts of the running system nor
/// network, pseudo or container file systems, nor second views of the root.
[[nodiscard]] QList<Mount> volumeMounts(const QList<Mount> &mounts);

/// What a person calls the volume: the last name of its mount point, or "NO NAME" for a FAT volume
/// without a label, which desktops mount under its serial number ("1A2B-3C4D"). Told from the line
/// alone; the volume is not touched.
[[nodiscard]] QString volumeName(const Mount &mount);

/// The mount table and word of its changes.
class MountTable : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// The table's text now. One thread at a time.
    [[nodiscard]] virtual QByteArray text() = 0;

    /// Whether the table may have changed since the last call; cheap. One thread at a time.
    [[nodiscard]] virtual bool hasChanged() = 0;

Q_SIGNALS:
    void changed();
};

/// The mount table of this process, as the kernel tells it.
class KernelMountTable : public MountTable
{
    Q_OBJECT

public:
    explicit KernelMountTable(QObject *parent = nullptr);
    ~KernelMountTable() override;

    [[nodiscard]] QByteArray text() override;
    [[nodiscard]] bool hasChanged() override;

private:
    // Every open description has its own memory of the last change it reported.
    const int m_announcing;
    const int m_asking;
};
