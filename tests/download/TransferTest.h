#pragma once

#include "download/DownloadFileService.h"
#include "download/QueueWindow.h"
#include "library/DownloadQueue.h"
#include "pen/URLFactory.h"
#include "platform/Dispatch.h"
#include "platform/NotificationCenter.h"
#include "tests/support/FaultServer.h"
#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <QTest>

#include <atomic>
#include <semaphore>

/// Volumes of a folder that hold up the session's thread while it is placing a file: after
/// hold(), the second look-up there (the first is that of the old file) waits for release().
class HeldVolumes : public FolderVolumes
{
public:
    using FolderVolumes::FolderVolumes;

    ~HeldVolumes() override { release(); }

    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override
    {
        if (!Dispatch::isMainThread() && m_before.load() > 0 && --m_before == 0) {
            m_reached = true;
            m_released.acquire();
        }
        return FolderVolumes::volume(name);
    }

    void hold() { m_before = 2; }
    void release() { m_released.release(); }
    [[nodiscard]] bool waitUntilHeld() const
    {
        return QTest::qWaitFor([this] { return m_reached.load(); }, 10'000);
    }

private:
    mutable std::atomic<int> m_before = 0;
    mutable std::atomic<bool> m_reached = false;
    mutable std::counting_semaphore<> m_released{0};
};

/// A server, a pen, an empty queue.
class TransferTest : public PenTest
{
protected:
    TransferTest()
    {
        FileManager::setVolumeSource(&held);
        reset();
    }
    ~TransferTest() override { reset(); }

    static void reset()
    {
        updateElements().clear();
        pendingElements().clear();
        totalBytesToDownload() = 0;
        totalBytesDownloaded() = 0;
    }

    static void addPending(const QString &mid, const QString &areaCode = QStringLiteral("en"))
    {
        auto record = std::make_shared<BaseElement>();
        record->mid = mid;
        record->name = QStringLiteral("Title ") + mid;
        record->bookAreaCode = areaCode;
        record->id = makeElementId(mid, areaCode);
        record->bookVersion = 3;
        pendingElements().append(record);
    }

    /// A queue row of the kind; counts its length in.
    static UpdateElement &addRow(UpdateFileType kind, qint64 length)
    {
        UpdateElement row;
        row.updateFileType = kind;
        row.contentLength = length;
        totalBytesToDownload() += length;
        updateElements().append(row);
        return updateElements().last();
    }

    [[nodiscard]] static QList<DownloadType> states()
    {
        QList<DownloadType> states;
        for (const UpdateElement &row : std::as_const(updateElements()))
            states.append(row.downloadType);
        return states;
    }

    [[nodiscard]] static bool waitFor(const std::function<bool()> &condition)
    {
        return QTest::qWaitFor(condition, 20'000);
    }

    /// Bytes that look different at every place.
    [[nodiscard]] static QByteArray bytes(qsizetype size)
    {
        QByteArray data(size, Qt::Uninitialized);
        for (qsizetype i = 0; i < size; ++i)
            data[i] = static_cast<char>((i * 2654435761u) >> 13);
        return data;
    }

    HeldVolumes held{pen.volumes()};
    FaultServer server;
};
