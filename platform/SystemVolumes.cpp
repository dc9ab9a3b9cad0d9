#include "platform/SystemVolumes.h"

#include "platform/Unmounting.h"

#include <utility>

SystemVolumes::SystemVolumes(QObject *parent)
    : SystemVolumes(std::make_unique<KernelMountTable>(), QDBusConnection::systemBus(), parent)
{
}

SystemVolumes::SystemVolumes(std::unique_ptr<MountTable> table, const QDBusConnection &bus,
                             QObject *parent)
    : VolumeSource(parent)
    , m_table(std::move(table))
    , m_bus(bus)
    , m_entries(entriesOf(m_table->text()))
    , m_announced(m_entries)
{
    connect(m_table.get(), &MountTable::changed, this, &SystemVolumes::announceChanges);
}

SystemVolumes::~SystemVolumes() = default;

QList<Volume> SystemVolumes::volumes() const
{
    const QList<Entry> mounted = entries();
    QList<Volume> volumes;
    for (const Entry &entry : mounted)
        volumes.append(entry.volume);
    return volumes;
}

void SystemVolumes::unmount(const Volume &volume, std::function<void(const QString &error)> done)
{
    auto *unmounting = new Unmounting(volume.path, m_bus, this);
    connect(unmounting, &Unmounting::finished, this,
            [unmounting, done = std::move(done)](const QString &error) {
                unmounting->deleteLater();
                done(error);
            });
    unmounting->start();
}

QList<SystemVolumes::Entry> SystemVolumes::entriesOf(const QByteArray &table)
{
    const QList<Mount> mounts = volumeMounts(parseMountTable(table));
    QList<Volume> volumes;
    for (const Mount &mount : mounts)
        volumes.append({volumeName(mount), mount.mountPoint});
    volumes = uniquelyNamed(volumes);
    QList<Entry> entries;
    for (qsizetype i = 0; i < mounts.size(); ++i)
        entries.append({volumes.at(i), mounts.at(i)});
    return entries;
}

QList<SystemVolumes::Entry> SystemVolumes::entries() const
{
    const std::lock_guard lock(m_mutex);
    if (m_table->hasChanged())
        m_entries = entriesOf(m_table->text());
    return m_entries;
}

void SystemVolumes::announceChanges()
{
    const QList<Entry> before = std::exchange(m_announced, entries());
    const QList<Entry> now = m_announced;
    for (const Entry &entry : before) {
        if (!now.contains(entry))
            Q_EMIT unmounted(entry.volume.name);
    }
    for (const Entry &entry : now) {
        if (!before.contains(entry))
            Q_EMIT mounted(entry.volume.name);
    }
}
