#include "download/DownloadFileService.h"

#include "tests/download/TransferTest.h"
#include "tests/support/Rows.h"

using namespace Qt::StringLiterals;

using Fault = FaultServer::Fault;
using Reply = FaultServer::Reply;

namespace {

/// Writes down what the transfer service asks of its window.
class RecordingWindow : public QueueWindow
{
public:
    [[nodiscard]] int indexToDownload() const override { return index; }
    void setIndexToDownload(int newIndex) override { index = newIndex; }
    void reloadQueueTable() override {}
    void copyStarted(int row) override { calls += u"copy %1"_s.arg(row); }
    void copyFailed(const FileFailure &failure) override { calls += u"failed: "_s + failure.text; }
    void fileDidNotFit(const FileFailure &failure) override
    {
        calls += u"did not fit: %1 into %2"_s.arg(failure.needed).arg(failure.free);
    }

    int index = 0;
    QStringList calls;
};

class DownloadFileServiceTest : public TransferTest
{
protected:
    DownloadFileServiceTest()
        : service(std::make_unique<DownloadFileService>())
    {
        service->setDownloadWindowController(&window);
        NotificationCenter &center = NotificationCenter::defaultCenter();
        center.addObserver(QueueWindow::startElementDownloads, &observer,
                           [this](const QVariantMap &) { ++starts; });
        center.addObserver(QueueWindow::downloadPercentage, &observer,
                           [this](const QVariantMap &userInfo) {
                               percentages += userInfo.value(u"percentDownloaded"_s).toDouble();
                           });
    }

    void download(const QByteArray &path, const QString &fileName = u"00042_en.qnk"_s)
    {
        const auto folder =
            fileName.endsWith(u".qnk"_s) ? URLFactory::getBookURL() : URLFactory::getConfigureURL();
        service->download(
            server.address(path), folder.value(), fileName, UpdateFileType::qnk,
            [this](bool success) { told += success; }, [this] { ++placed; });
    }

    [[nodiscard]] bool waitForStarts(int count)
    {
        return waitFor([&] { return starts >= count; });
    }
    /// Until the queue goes on.
    void load(const QByteArray &path, const QString &fileName = u"00042_en.qnk"_s)
    {
        const int before = starts;
        download(path, fileName);
        ASSERT_TRUE(waitForStarts(before + 1));
    }

    RecordingWindow window;
    int starts = 0;
    int placed = 0;
    QList<double> percentages;
    QList<bool> told;
    QObject observer;
    std::unique_ptr<DownloadFileService> service;
};

/// Ends at `at` bytes, and can be resumed or not.
Reply broken(const QByteArray &body, qint64 at, bool resumable)
{
    Reply reply{.body = body, .fault = Fault::Close, .faultAt = at};
    if (!resumable)
        reply.etag = QByteArray();
    return reply;
}

} // namespace

TEST_F(DownloadFileServiceTest, RetriesFromZeroOnceThenSkips)
{
    const QByteArray content = bytes(300'000);
    server.serve("/c", broken(content, 200'000, false));
    addRow(UpdateFileType::qnk, content.size());
    addRow(UpdateFileType::qnk, 500);
    addRow(UpdateFileType::qnk, 7);
    pen.write(u"book/00042_en.qnk"_s, "old");
    load("/c");
    EXPECT_FALSE(server.requests("/c").last().hasHeader("Range"));
    EXPECT_EQ(told, QList{false});
    EXPECT_EQ(states(),
              QList({DownloadType::Failed, DownloadType::Waiting, DownloadType::Waiting}));
    EXPECT_EQ(window.index, 1);
    EXPECT_EQ(window.calls, QStringList());
    EXPECT_EQ(totalBytesToDownload(), 507);
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "old");
    EXPECT_EQ(totalBytesDownloaded(), 0);

    download("/c"); // skipped at once
    EXPECT_EQ(states().at(1), DownloadType::Failed);
    EXPECT_EQ(totalBytesToDownload(), 7);
    EXPECT_EQ(totalBytesDownloaded(), 0);
    EXPECT_EQ(window.index, 2);
    EXPECT_EQ(starts, 1) << "the queue goes on from the event loop only";
    ASSERT_TRUE(waitForStarts(2));
    EXPECT_EQ(server.requests("/c").size(), 2);

    // Beyond the rows there is nothing to skip.
    window.index = 3;
    download("/c");
    EXPECT_EQ(window.index, 3);
    service->setDownloadWindowController(nullptr);
    download("/c");
    EXPECT_EQ(states().last(), DownloadType::Waiting);
}

TEST_F(DownloadFileServiceTest, CountsEveryByteOnceHoweverARowRestarts)
{
    const QByteArray content = bytes(100'000);
    Reply whole{.body = content, .ranges = FaultServer::Ranges::Ignored};
    server.serveInTurn("/a", {broken(content, 60'000, false), whole});
    server.serveInTurn("/b",
                       {broken(content, 60'000, true), whole}); // 200 where a part was asked for
    for (int row = 0; row < 2; ++row)
        addRow(UpdateFileType::qnk, content.size());
    load("/a");
    EXPECT_EQ(totalBytesDownloaded(), content.size());
    load("/b", u"00043_en.qnk"_s);
    EXPECT_TRUE(server.requests("/b").last().hasHeader("Range"));
    EXPECT_EQ(totalBytesDownloaded(), 2 * content.size());
    EXPECT_EQ(told, QList({false, false}));
    EXPECT_EQ(states(), QList({DownloadType::Ready, DownloadType::Ready}));
}

TEST_F(DownloadFileServiceTest, TheFailureOfAnEarlierTransferIsNotRetried)
{
    const auto gate = std::make_shared<FaultServer::Gate>();
    server.serve("/a", Reply{.body = bytes(1000), .announced = 2000, .hold = gate});
    server.serve("/b", "b");
    addRow(UpdateFileType::qnk, 0);
    download("/a");
    ASSERT_TRUE(gate->waitUntilReached());
    download("/b", u"00043_en.qnk"_s); // a newer one
    gate->open();                      // the earlier one ends too soon
    ASSERT_TRUE(waitFor([this] { return told.size() == 2 && starts == 1; }));
    addRow(UpdateFileType::qnk, 1);
    load("/b", u"00044_en.qnk"_s);
    EXPECT_EQ(server.requests("/a").size(), 1);
    EXPECT_EQ(states(), QList({DownloadType::Ready, DownloadType::Ready}));
}

TEST_F(DownloadFileServiceTest, AnAddressThatIsNoneFailsAtOnce)
{
    for (const QString &address : {u"http://a b/"_s, u""_s})
        service->download(address, URLFactory::getBookURL().value(), u"1_en.qnk"_s,
                          UpdateFileType::qnk, [this](bool success) { told += success; });
    EXPECT_EQ(told, QList({false, false}));
}

TEST_F(DownloadFileServiceTest, PercentagesAreRoundedUpAndNotClamped)
{
    server.serve("/c", bytes(1000));
    addRow(UpdateFileType::qnk, 0);
    totalBytesToDownload() = 300;
    load("/c");
    EXPECT_EQ(percentages.last(), 334);
    totalBytesToDownload() = 0;
    server.serve("/d", "1");
    download("/d");
    ASSERT_TRUE(waitFor([this] { return totalBytesDownloaded() == 1001; }));
    EXPECT_EQ(percentages.last(), 100'100);
}

TEST_F(DownloadFileServiceTest, CancellingEndsATransferWithoutRetry)
{
    const QByteArray content = bytes(3'000'000);
    Reply stalls{.body = content, .fault = Fault::Stall, .faultAt = 500'000};
    for (const QByteArray path : {"/whole", "/resumed"}) {
        SCOPED_TRACE(path.constData());
        reset();
        addRow(UpdateFileType::qnk, content.size());
        told.clear();
        const auto gate = stalls.gate = std::make_shared<FaultServer::Gate>();
        const qsizetype before = path == "/resumed" ? 2 : 1;
        server.serveInTurn("/resumed", {broken(content, 2'000'000, true), stalls});
        server.serve("/whole", stalls);
        download(path);
        ASSERT_TRUE(gate->waitUntilReached());
        service->cancelAllDownloads();
        EXPECT_EQ(told, QList{false}) << "by the first attempt, or by cancelling";
        std::atomic<bool> isAtRest = false;
        service->whenAtRest([&isAtRest] { isAtRest = true; });
        ASSERT_TRUE(waitFor([&isAtRest] { return isAtRest.load(); }));
        EXPECT_EQ(server.requests(path).size(), before);
        EXPECT_EQ(pen.names(u"book"_s), QStringList());
        EXPECT_EQ(states(), QList{DownloadType::Waiting});
        EXPECT_EQ(starts, 0);
    }
    // The service itself can go on.
    server.serve("/d", "d");
    updateElements().first().contentLength = 1;
    load("/d");
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "d");
}

TEST_F(DownloadFileServiceTest, ARetiredServiceTellsNobodyAndGoesOnItsOwn)
{
    server.serve("/c", "content");
    addRow(UpdateFileType::qnk, 7);
    held.hold();
    download("/c");
    ASSERT_TRUE(held.waitUntilHeld());
    ASSERT_TRUE(waitFor([this] { return !window.calls.isEmpty(); }));
    const QPointer<DownloadFileService> retired(service.get());
    DownloadFileService::retire(std::move(service), &observer);
    EXPECT_EQ(told, QList{false});
    EXPECT_TRUE(retired) << "its thread is still busy with the pen";
    held.release();
    ASSERT_TRUE(waitFor([&] { return !retired; }));
    EXPECT_EQ(told, QList{false});
    EXPECT_EQ(window.calls, QStringList(u"copy 0"_s));
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
}

TEST_F(TransferTest, ContentLengthIsAskedForByHead)
{
    struct Row
    {
        const char *name;
        FaultServer::Reply reply;
        std::optional<qint64> length;
    };
    DownloadFileService service;
    forEachRow<Row>(
        {{"Announced", {.body = "12345"}, 5},
         {"MoreThanFourGigabytes", {.body = "x", .announced = 5'000'000'000}, 5'000'000'000},
         {"MoreThanAnyPen", {.body = "x", .announced = 1'099'511'627'777}, {}},
         {"Absent", {.body = "12345", .length = FaultServer::Length::Absent}, {}},
         {"NotANumber", {.headers = {{"Content-Length", "many"}}, .body = "x"}, {}},
         {"TooLarge", {.headers = {{"Content-Length", "99999999999999999999"}}, .body = "x"}, {}},
         {"ErrorPage", {.status = 404, .body = "12345"}, {}},
         {"NoAnswer", FaultServer::Reply::closeBeforeHeader(), {}}},
        [&](const Row &row) {
            server.serve("/c", row.reply);
            bool answered = false;
            service.getContentLength(server.address("/c?v=1"), [&](std::optional<qint64> length) {
                EXPECT_TRUE(Dispatch::isMainThread());
                EXPECT_EQ(length, row.length);
                answered = true;
            });
            EXPECT_FALSE(answered);
            ASSERT_TRUE(waitFor([&] { return answered; }));
            EXPECT_EQ(server.requests().last().method, "HEAD");
            EXPECT_EQ(server.requests().last().target, "/c?v=1");
        });
    bool isNone = false; // at once, for an address that is none
    service.getContentLength(u"http://a b/"_s,
                             [&](std::optional<qint64> length) { isNone = !length; });
    EXPECT_TRUE(isNone);
}
