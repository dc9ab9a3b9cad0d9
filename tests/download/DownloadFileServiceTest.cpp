#include "download/DownloadFileService.h"

#include "download/QueueWindow.h"
#include "pen/URLFactory.h"
#include "platform/Dispatch.h"
#include "platform/NotificationCenter.h"
#include "tests/support/FaultServer.h"
#include "tests/support/PenTest.h"

#include <QTest>

#include <atomic>
#include <semaphore>

using namespace Qt::StringLiterals;
using Reply = FaultServer::Reply;

namespace {

/// Holds up the session's thread while it places a file: after hold(), the second look-up there
/// (the first is that of the old file) waits for release().
class HeldVolumes : public FolderVolumes
{
public:
    using FolderVolumes::FolderVolumes;

    ~HeldVolumes() override { release(); }

    [[nodiscard]] std::optional<Volume> volume(const QString &name) const override
    {
        if (!Dispatch::isMainThread() && m_before.load() > 0 && --m_before == 0) {
            reached = true;
            m_released.acquire();
        }
        return FolderVolumes::volume(name);
    }

    void hold()
    {
        reached = false;
        m_before = 2;
    }
    void release() { m_released.release(); }

    mutable std::atomic<bool> reached = false;

private:
    mutable std::atomic<int> m_before = 0;
    mutable std::counting_semaphore<> m_released{0};
};

/// Transfers onto a pen for the rows of a queue, and what is asked of its window meanwhile.
class DownloadFileServiceTest : public PenTest, public QueueWindow
{
protected:
    DownloadFileServiceTest()
    {
        FileManager::setVolumeSource(&held);
        service->setDownloadWindowController(this);
        NotificationCenter &center = NotificationCenter::defaultCenter();
        center.addObserver(startElementDownloads, &observer,
                           [this](const QVariantMap &) { ++starts; });
        center.addObserver(downloadPercentage, &observer, [this](const QVariantMap &userInfo) {
            percentage = userInfo.value(percentDownloadedKey).toDouble();
        });
        updateElements() = {UpdateElement()};
    }
    ~DownloadFileServiceTest() override
    {
        updateElements().clear();
        totalBytesToDownload() = totalBytesDownloaded() = 0;
    }

    [[nodiscard]] int indexToDownload() const override { return index; }
    void setIndexToDownload(int newIndex) override { index = newIndex; }
    void reloadQueueTable() override {}
    void copyStarted(int row) override { calls += u"copy %1"_s.arg(row); }
    void copyFailed(const FileFailure &failure) override { calls += u"failed: "_s + failure.text; }
    void fileDidNotFit(const FileFailure &) override { calls += u"did not fit"_s; }

    void download(const QString &address, const QString &fileName = u"00042_en.qnk"_s)
    {
        service->download(address, URLFactory::getBookURL().value(), fileName, UpdateFileType::qnk,
                          [this](bool success) { told += success; });
    }
    [[nodiscard]] static bool waitFor(const std::function<bool()> &condition)
    {
        return QTest::qWaitFor(condition, 20'000);
    }

    HeldVolumes held{pen.volumes()};
    FaultServer server;
    int index = 0;
    int starts = 0;
    double percentage = 0;
    QStringList calls;
    QList<bool> told;
    QObject observer;
    std::unique_ptr<DownloadFileService> service = std::make_unique<DownloadFileService>();
};

TEST_F(DownloadFileServiceTest, TheFailureOfAnEarlierTransferIsNotRetried)
{
    const auto gate = std::make_shared<FaultServer::Gate>();
    server.serve("/a", Reply{.body = "aa", .announced = 2000, .hold = gate});
    server.serve("/b", "b");
    download(server.address("/a"));
    ASSERT_TRUE(gate->waitUntilReached());
    download(server.address("/b"), u"00043_en.qnk"_s); // a newer one
    gate->open();                                      // the earlier one ends too soon
    ASSERT_TRUE(waitFor([this] { return told.size() == 2 && starts == 1; }));
    updateElements().resize(2);
    download(server.address("/b"), u"00044_en.qnk"_s);
    ASSERT_TRUE(waitFor([this] { return starts == 2; }));
    EXPECT_EQ(server.requests("/a").size(), 1);
    EXPECT_EQ(updateElements().last().downloadType, DownloadType::Ready);
}

TEST_F(DownloadFileServiceTest, TheQueueGoesOnFromTheEventLoopOnly)
{
    service->skipRow();
    EXPECT_EQ(updateElements().first().downloadType, DownloadType::Failed);
    EXPECT_EQ(starts, 0);
    EXPECT_TRUE(waitFor([this] { return starts == 1; }));
}

TEST_F(DownloadFileServiceTest, PercentagesAreRoundedUpAndNotClamped)
{
    server.serve("/c", QByteArray(1000, 'c'));
    for (const auto &[planned, shown] : {std::pair(300, 334.0), {0, 100'000}}) {
        totalBytesToDownload() = planned;
        download(server.address("/c"));
        EXPECT_TRUE(waitFor([&, expected = shown] { return percentage == expected; }))
            << percentage;
    }
}

TEST_F(DownloadFileServiceTest, StoppedWhileItPlacesAFileItLeavesTheOldOneAndTellsNobody)
{
    for (const bool isRetired : {false, true}) {
        SCOPED_TRACE(isRetired);
        pen.write(u"book/00042_en.qnk"_s, "old");
        server.serve("/c", "content");
        told.clear();
        calls.clear();
        held.hold();
        download(server.address("/c"));
        ASSERT_TRUE(waitFor([this] { return held.reached && !calls.isEmpty(); }));
        const QPointer<DownloadFileService> stopped(service.get());
        std::atomic<bool> isAtRest = false;
        if (isRetired)
            DownloadFileService::retire(std::move(service), &observer);
        else
            service->cancelAllDownloads();
        ASSERT_TRUE(stopped) << "its thread is still busy with the pen";
        EXPECT_EQ(told, QList{false});
        stopped->whenAtRest([&isAtRest] { isAtRest = true; });
        held.release();
        ASSERT_TRUE(waitFor([&] { return isRetired ? !stopped : isAtRest.load(); }));
        QCoreApplication::processEvents();
        EXPECT_EQ(told, QList<bool>(isRetired ? 1 : 2, false));
        EXPECT_EQ(calls, QStringList(u"copy 0"_s));
        EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00042_en.qnk"_s));
        EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "old");
    }
}

TEST_F(DownloadFileServiceTest, ContentLengthIsAskedForByHead)
{
    using Length = std::optional<qint64>;
    for (const auto &[reply, length] : std::initializer_list<std::pair<Reply, Length>>{
             {{.body = "x", .announced = 5'000'000'000}, 5'000'000'000},
             {{.body = "x", .announced = 1'099'511'627'777}, {}}, // more than any pen
             {{.headers = {{"Content-Length", "many"}}, .body = "x"}, {}},
             {{.status = 404, .body = "12345"}, {}}}) {
        server.serve("/c", reply);
        std::optional<Length> answered;
        service->getContentLength(server.address("/c?v=1"), [&](Length answer) {
            EXPECT_TRUE(Dispatch::isMainThread());
            answered = answer;
        });
        ASSERT_TRUE(waitFor([&] { return answered.has_value(); }));
        EXPECT_EQ(*answered, length) << reply.body.constData();
        EXPECT_EQ(server.requests().last().method, "HEAD");
        EXPECT_EQ(server.requests().last().target, "/c?v=1");
    }
    std::optional<qint64> size = 1; // at once for an address that is none
    service->getContentLength(u"http://a b/"_s,
                              [&](std::optional<qint64> length) { size = length; });
    EXPECT_EQ(size, std::nullopt);
    download(u"http://a b/"_s);
    EXPECT_EQ(told, QList{false});
}

} // namespace
