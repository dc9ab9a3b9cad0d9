#pragma once

#include "platform/MountTable.h"
#include "platform/VolumeSource.h"

#include <QDBusConnection>

#include <memory>
#include <mutex>

/// The system's volumes: the kernel's mount table, watched without polling; UDisks2 unmounts and
/// powers off. Network and pseudo file systems are left out before they are touched.
class SystemVolumes : public VolumeSource
{
    Q_OBJECT

public:
    explicit SystemVolumes(QObject *parent = nullptr);
    SystemVolumes(std::unique_ptr<MountTable> table, const QDBusConnection &bus,
                  QObject *parent = nullptr);
    ~SystemVolumes() override;

    [[nodiscard]] QList<Volume> volumes() const override;
    void unmount(const Volume &volume, std::function<void(const QString &error)> done) override;

private:
    /// A volume and the mount behind it: another medium at the same place is another volume.
    struct Entry
    {
        Volume volume;
        Mount mount;

        friend bool operator==(const Entry &, const Entry &) = default;
    };

    [[nodiscard]] static QList<Entry> entriesOf(const QByteArray &table);
    [[nodiscard]] QList<Entry> entries() const;
    void announceChanges();

    const std::unique_ptr<MountTable> m_table;
    const QDBusConnection m_bus;
    mutable std::mutex m_mutex;
    mutable QList<Entry> m_entries; ///< as of the last change; guarded by m_mutex with m_table
    QList<Entry> m_announced;
};
