#pragma once

#include "platform/SystemVolumes.h"
#include "tests/platform/VolumeNames.h"

#include <atomic>
#include <mutex>
#include <string>

#include <gtest/gtest.h>

/// A mount table that says what it is told.
class FakeMountTable : public MountTable
{
public:
    QByteArray text() override
    {
        const std::lock_guard lock(m_mutex);
        return QByteArray::fromStdString(m_text);
    }

    bool hasChanged() override { return m_changed.exchange(false); }

    void set(const QByteArrayList &lines)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_text = lines.join('\n').toStdString() + '\n';
        }
        m_changed = true;
    }

    void setAndTell(const QByteArrayList &lines)
    {
        set(lines);
        Q_EMIT changed();
    }

private:
    std::mutex m_mutex;
    std::string m_text;
    std::atomic<bool> m_changed = false;
};

inline const QByteArray rootLine = "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw";

inline QByteArray mediumLine(const QByteArray &name, int id = 90)
{
    return QByteArray::number(id) + " 22 8:17 / /media/anna/" + name
           + " rw,nosuid shared:5 - vfat /dev/sdb1 rw,uid=1000";
}
