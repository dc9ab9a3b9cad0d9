#include "download/DownloadFileService.h"

#include "tests/download/TransferTest.h"

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::StartsWith;

using Fault = FaultServer::Fault;
using Reply = FaultServer::Reply;

namespace {

/// Writes down what the transfer service asks of its window.
class RecordingWindow : public QueueWindow
{
public:
    [[nodiscard]] int indexToDownload() const override { return index; }
    void setIndexToDownload(int newIndex) override { index = newIndex; }
    void reloadQueueTable() override { ++reloads; }
    void copyStarted(int row) override { calls += u"copy %1"_s.arg(row); }
    void copyFailed(const FileFailure &failure) override { calls += u"failed: "_s + failure.text; }
    void fileDidNotFit(const FileFailure &failure) override
    {
        calls += u"did not fit: %1 into %2"_s.arg(failure.needed).arg(failure.free);
    }

    int index = 0;
    int reloads = 0;
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
                           [this](const QVariantMap &userInfo) {
                               EXPECT_TRUE(userInfo.isEmpty());
                               ++starts;
                           });
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

    /// The debug lines until the queue goes on.
    std::vector<std::string> linesOfDownload(const QByteArray &path, int metrics)
    {
        return debugLines(
            [&] {
                download(path);
                EXPECT_TRUE(waitForStarts(starts + 1));
            },
            metrics);
    }

    /// The debug lines of a run; the line of the session's metrics may come at any point.
    template <typename Work>
    static std::vector<std::string> debugLines(const Work &work, int metrics)
    {
        QStringList lines = printedBy(work);
        EXPECT_EQ(lines.removeAll(u"didFinishCollecting"_s), metrics);
        std::vector<std::string> texts;
        for (const QString &line : std::as_const(lines))
            texts.push_back(line.toStdString());
        return texts;
    }

    [[nodiscard]] std::string start(int tries, const QByteArray &path = "/c") const
    {
        return qPrintable(
            u"\"Start downloading for the %1 time from this URL: %2\""_s.arg(tries).arg(
                server.address(path)));
    }
    [[nodiscard]] std::string handlers(const QByteArray &path = "/c") const
    {
        return qPrintable(u"[\"%1\": (Function)]"_s.arg(server.address(path)));
    }

    const std::string noHandlers = "[:]";
    const std::string failure = "\"An Error accured while Downloading. ERROR: ( ";
    const std::string anew =
        "\"There is no resumable Data for this Error, will start Download anew\"";
    const std::string skipped = "\"Will skip this Download.\"";

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

TEST_F(DownloadFileServiceTest, PutsTheFileOnThePen)
{
    const QByteArray content = bytes(300'000);
    server.serve("/c", content);
    addRow(UpdateFileType::qnk, content.size());
    EXPECT_THAT(linesOfDownload("/c", 1), ElementsAre(start(1), handlers(), noHandlers));
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00042_en.qnk"_s));
    EXPECT_EQ(states(), QList{DownloadType::Ready});
    EXPECT_EQ(window.index, 1);
    EXPECT_EQ(window.calls, QStringList(u"copy 0"_s));
    EXPECT_GT(window.reloads, 0);
    EXPECT_EQ(told, QList{true});
    EXPECT_EQ(placed, 1);
    EXPECT_EQ(totalBytesDownloaded(), content.size());
    EXPECT_EQ(percentages.value(percentages.size() - 1), 100);

    server.serve("/d", "new");
    addRow(UpdateFileType::qnk, 3);
    EXPECT_THAT(linesOfDownload("/d", 1), ElementsAre(start(1, "/d"), handlers("/d"), noHandlers));
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "new");
}

TEST_F(DownloadFileServiceTest, NameWithoutMidStopsTheQueue)
{
    server.serve("/c", "x");
    addRow(UpdateFileType::bin, 1);
    const auto lines = debugLines(
        [&] {
            download("/c", u"___"_s);
            EXPECT_TRUE(waitFor([this] { return !told.isEmpty(); }));
        },
        1);
    EXPECT_EQ(lines.back(), "\"Could not extract MID from current file name. Aborting copying "
                            "download to destination.\"");
    EXPECT_EQ(pen.read(u"configure/___"_s), "x");
    EXPECT_EQ(told, QList{true});
    EXPECT_EQ(states(), QList{DownloadType::Waiting});
    EXPECT_EQ(window.index, 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(starts, 0);
}

TEST_F(DownloadFileServiceTest, RetriesFromZeroOnceThenSkips)
{
    const QByteArray content = bytes(300'000);
    server.serve("/c", broken(content, 200'000, false));
    addRow(UpdateFileType::qnk, content.size());
    addRow(UpdateFileType::qnk, 500);
    pen.write(u"book/00042_en.qnk"_s, "old");
    const auto lines = linesOfDownload("/c", 2);
    EXPECT_THAT(lines, ElementsAre(start(1), handlers(), StartsWith(failure), anew, start(2),
                                   noHandlers, StartsWith("\"WILL SUBSTRACT 200000.0 from "),
                                   StartsWith(failure), anew, skipped));
    EXPECT_FALSE(server.requests("/c").last().hasHeader("Range"));
    EXPECT_EQ(told, QList{false});
    EXPECT_EQ(states(), QList({DownloadType::Failed, DownloadType::Waiting}));
    EXPECT_EQ(window.index, 1);
    EXPECT_EQ(window.calls, QStringList());
    EXPECT_GT(window.reloads, 0);
    EXPECT_EQ(totalBytesToDownload(), 500);
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "old");
    EXPECT_EQ(totalBytesDownloaded(), 0);
    download("/c"); // skipped at once
    EXPECT_EQ(totalBytesDownloaded(), 0);
}

TEST_F(DownloadFileServiceTest, ResumesAndKeepsEveryByteCounted)
{
    const QByteArray content = bytes(3'000'000);
    server.serveInTurn("/c", {broken(content, 2'000'000, true), Reply{.body = content}});
    addRow(UpdateFileType::qnk, content.size());
    const auto lines = linesOfDownload("/c", 2);
    EXPECT_THAT(lines,
                ElementsAre(start(1), handlers(), StartsWith(failure), start(2), noHandlers));
    const FaultServer::Request retry = server.requests("/c").last();
    EXPECT_TRUE(retry.header("Range").startsWith("bytes="));
    EXPECT_NE(retry.header("Range"), "bytes=0-");
    EXPECT_TRUE(retry.hasHeader("If-Range"));
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(told, QList{false});
    EXPECT_EQ(placed, 1);
    EXPECT_EQ(states(), QList{DownloadType::Ready});
    EXPECT_EQ(totalBytesDownloaded(), content.size());
    EXPECT_EQ(percentages.last(), 100);
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
    download("/a");
    EXPECT_TRUE(waitForStarts(1));
    EXPECT_EQ(totalBytesDownloaded(), content.size());
    download("/b", u"00043_en.qnk"_s);
    EXPECT_TRUE(waitForStarts(2));
    EXPECT_TRUE(server.requests("/b").last().hasHeader("Range"));
    EXPECT_EQ(totalBytesDownloaded(), 2 * content.size());
    EXPECT_EQ(told, QList({false, false}));
    EXPECT_EQ(states(), QList({DownloadType::Ready, DownloadType::Ready}));
}

TEST_F(DownloadFileServiceTest, NoAnswerRestartsTheLatestAddress)
{
    server.serve("/c", Reply::closeBeforeHeader());
    addRow(UpdateFileType::qnk, 5);
    const auto lines = linesOfDownload("/c", 2);
    const std::string noUrl = "\"The task in which this Error occurred has no URL\"";
    EXPECT_THAT(lines, ElementsAre(start(1), handlers(), StartsWith(failure), noUrl, start(2),
                                   noHandlers, StartsWith(failure), noUrl, skipped));
    EXPECT_EQ(told, QList{false});
    EXPECT_EQ(states(), QList{DownloadType::Failed});
}

TEST_F(DownloadFileServiceTest, AnAddressThatFailedTwiceIsSkippedAtOnce)
{
    server.serve("/c", Reply{.status = 404, .etag = QByteArray()});
    addRow(UpdateFileType::qnk, 5);
    addRow(UpdateFileType::qnk, 7);
    download("/c");
    ASSERT_TRUE(waitForStarts(1));
    download("/c");
    EXPECT_EQ(states(), QList({DownloadType::Failed, DownloadType::Failed}));
    EXPECT_EQ(totalBytesToDownload(), 0);
    EXPECT_EQ(window.index, 2);
    EXPECT_EQ(starts, 1) << "the queue goes on from the event loop only";
    ASSERT_TRUE(waitForStarts(2));
    EXPECT_EQ(server.requests("/c").size(), 2);

    // Beyond the rows there is nothing to skip.
    download("/c");
    EXPECT_EQ(window.index, 2);
    service->setDownloadWindowController(nullptr);
    EXPECT_EQ(
        printedBy([&] { download("/c"); }).mid(0, 2),
        QStringList({u"\"Will skip this Download.\""_s,
                     u"\"No index to download therefore this Download can't be skiped!\""_s}));
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
    download("/c");
    ASSERT_TRUE(waitForStarts(1));
    EXPECT_EQ(percentages.last(), 334);
    totalBytesToDownload() = 0;
    server.serve("/d", "1");
    download("/d");
    ASSERT_TRUE(waitFor([this] { return totalBytesDownloaded() == 1001; }));
    EXPECT_EQ(percentages.last(), 100'100);
}

TEST_F(DownloadFileServiceTest, CancellingEndsATransferWithoutRetry)
{
    const auto gate = std::make_shared<FaultServer::Gate>();
    server.serve(
        "/c",
        Reply{.body = bytes(200'000), .fault = Fault::Stall, .faultAt = 100'000, .gate = gate});
    addRow(UpdateFileType::qnk, 200'000);
    const auto lines = debugLines(
        [&] {
            download("/c");
            EXPECT_TRUE(gate->waitUntilReached());
            service->cancelAllDownloads();
            EXPECT_EQ(told, QList{false});
            EXPECT_TRUE(waitFor([this] { return told.size() == 2; }));
        },
        1);
    EXPECT_THAT(lines, ElementsAre(start(1), handlers(), failure + "Abgebrochen )\"", noHandlers));
    EXPECT_EQ(told, QList({false, false}));
    EXPECT_EQ(server.requests("/c").size(), 1);
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
    EXPECT_EQ(states(), QList{DownloadType::Waiting});
    EXPECT_EQ(starts, 0);

    // The service itself can go on.
    server.serve("/d", "d");
    updateElements().first().contentLength = 1;
    download("/d");
    ASSERT_TRUE(waitForStarts(1));
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "d");
}

TEST_F(DownloadFileServiceTest, CancellingAResumedTransferLeavesNothingOnThePen)
{
    const QByteArray content = bytes(3'000'000);
    const auto gate = std::make_shared<FaultServer::Gate>();
    server.serveInTurn(
        "/c", {broken(content, 2'000'000, true),
               Reply{.body = content, .fault = Fault::Stall, .faultAt = 500'000, .gate = gate}});
    addRow(UpdateFileType::qnk, content.size());
    download("/c");
    ASSERT_TRUE(gate->waitUntilReached());
    service->cancelAllDownloads();
    std::atomic<bool> isAtRest = false;
    service->whenAtRest([&isAtRest] { isAtRest = true; });
    ASSERT_TRUE(waitFor([&isAtRest] { return isAtRest.load(); }));
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
}

TEST_F(DownloadFileServiceTest, APenPulledWhileMovingStopsTheQueue)
{
    server.serve("/c", "content");
    addRow(UpdateFileType::qnk, 7);
    pen.write(u"book/00043_en.qnk"_s, "other");
    held.hold();
    const QStringList lines = printedBy([&] {
        download("/c");
        EXPECT_TRUE(held.waitUntilHeld());
        pen.pullOut();
        held.release();
        EXPECT_TRUE(waitFor([this] { return !told.isEmpty(); }));
    });
    ASSERT_EQ(window.calls.size(), 2);
    const QString reason = window.calls.last().section(u": "_s, 1);
    EXPECT_EQ(window.calls, QStringList({u"copy 0"_s, u"failed: "_s + reason}));
    EXPECT_TRUE(!reason.isEmpty() && lines.contains(u"file error: "_s + reason));
    EXPECT_EQ(told, QList{false});
    EXPECT_EQ(states(), QList{DownloadType::Waiting});
    EXPECT_EQ(window.index + starts + placed, 0);
    EXPECT_EQ(server.requests("/c").size(), 1);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00043_en.qnk"_s));
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
