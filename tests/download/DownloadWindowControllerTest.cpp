#include "download/DownloadWindowController.h"

#include "tests/download/DownloadWindowFixture.h"

using namespace Qt::StringLiterals;

using Fault = FaultServer::Fault;
using States = QList<DownloadType>;

namespace {

const QString stillLoading = u"label_is_downloading_plurallabel_dont_unplug_quillo"_s;

} // namespace

TEST_F(DownloadWindowTest, RowsOfSingleFilesStopTheQueue)
{
    for (const UpdateFileType kind : {UpdateFileType::txt, UpdateFileType::png}) {
        reset();
        addRow(kind, 5);
        addTitle(u"42"_s);
        window.beginRun(&loader);
        QueueWindow::postStartElementDownloads();
        EXPECT_EQ(states(), States({DownloadType::Waiting, DownloadType::Waiting}));
        EXPECT_TRUE(window.isWorking());
    }
    EXPECT_EQ(events, QStringList());
}

TEST_F(DownloadWindowTest, AnEmptyQueueIsCompleteFromTheMainQueueUnlessTheNextRunHasBegun)
{
    QueueWindow::postStartElementDownloads();
    window.beginRun(&loader);
    QCoreApplication::processEvents();
    EXPECT_EQ(events, QStringList());
    EXPECT_EQ(shown().headline, u"label_downloading"_s);
    QueueWindow::postStartElementDownloads();
    EXPECT_EQ(events, QStringList());
    ASSERT_TRUE(waitForEnd());
    EXPECT_FALSE(window.isWorking());
    EXPECT_EQ(events, QStringList({u"completed"_s, u"ended"_s}));
}

TEST_F(DownloadWindowTest, WhileATransferRunsThePenIsToStay)
{
    serveSoftware();
    window.fileDidNotFit({.reason = FileFailure::Reason::Full}); // in the run before
    window.beginRun(&loader);
    addTitle(u"42"_s); // fails
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(shown().headline, u"label_some_failed"_s);
    addRow(UpdateFileType::bin, 8); // known late
    QueueWindow::postStartElementDownloads();
    EXPECT_TRUE(shown().headline.endsWith(stillLoading)) << qPrintable(shown().headline);
    events.clear();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(shown().headline, u"label_some_failed"_s);

    reset();
    window.beginRun(&loader);
    addTitle(u"43"_s);
    addTitle(u"44"_s);
    for (const char *mid : {"43", "44"})
        serveTitle(mid, {.body = "content"});
    QueueWindow::postStartElementDownloads();
    QueueWindow::postNoResponseFromServer();
    EXPECT_TRUE(shown().headline.endsWith(stillLoading) && isPending());
    events.clear();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(shown().headline, u"label_no_response_from_server"_s);
    EXPECT_EQ(states(), States(2, DownloadType::Ready));
}

TEST_F(DownloadWindowTest, DroppingARowTakesItOutOfTheRun)
{
    addTitle(u"42"_s, 100);
    addTitle(u"43"_s, 200);
    addRow(UpdateFileType::iso, 300);
    addTitle(u"44"_s, 400).downloadType = DownloadType::Downloading;
    for (const QString &name :
         {u"00042_en.txt"_s, u"00042_en.png"_s, u"00043_en.txt"_s, u"00043_en.qnk"_s})
        pen.write(u"book/"_s + name, "x");
    const int column = DownloadWindowController::cancelColumn;
    for (const auto &[row, clicked] :
         {std::pair(0, column - 1), {-1, column}, {4, column}, {2, column}, {3, column}})
        window.onItemClicked(row, clicked);
    EXPECT_FALSE(states().contains(DownloadType::Canceled));

    window.onItemClicked(0, column);
    EXPECT_EQ(totalBytesToDownload(), 900);
    EXPECT_DOUBLE_EQ(shown().bar, 10);
    window.onItemClicked(1, column);
    EXPECT_EQ(totalBytesToDownload(), 700);
    EXPECT_DOUBLE_EQ(shown().bar, 20);
    window.onItemClicked(1, column);
    EXPECT_DOUBLE_EQ(shown().bar, 20);
    EXPECT_EQ(states(), States({DownloadType::Canceled, DownloadType::Canceled,
                                DownloadType::Waiting, DownloadType::Downloading}));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u"00043_en.qnk"_s, u"00043_en.txt"_s}));
}

TEST_F(DownloadWindowTest, SoftwareThatHasStartedCannotBeCancelledButGoesNoFurtherWithoutPen)
{
    serveSoftware();
    const auto gate = std::make_shared<FaultServer::Gate>();
    server.serve("/firmware", {.body = "13", .hold = gate});
    addRow(UpdateFileType::bin, 5);
    QueueWindow::postStartElementDownloads();
    EXPECT_FALSE(shown().cancelEnabled);
    ASSERT_TRUE(gate->waitUntilReached());
    window.interrupt(RunPhase::PenRemoved);
    gate->open();
    reset();
    events.clear();
    window.beginRun(&loader);
    addTitle(u"42"_s);
    QueueWindow::postStartElementDownloads();
    EXPECT_TRUE(shown().cancelEnabled);
    ASSERT_TRUE(waitForEnd());
    EXPECT_TRUE(server.requests("/software/firmwareV13.bin").isEmpty());
}

TEST_F(DownloadWindowTest, CopyShareFillsInStepsAndWithTheNextRow)
{
    addTitle(u"42"_s, 1'000'000);     // half a second
    addTitle(u"43"_s, 1'000'000'000); // minutes
    addTitle(u"44"_s, 0);
    addTitle(u"45"_s, 0).downloadType = DownloadType::Canceled;
    const double share = 40.0 / 3;
    window.copyStarted(0);
    EXPECT_EQ(states().first(), DownloadType::Copying);
    EXPECT_TRUE(bars.isEmpty());
    ASSERT_TRUE(waitFor([this] { return bars.size() >= 6; }));
    for (qsizetype i = 0; i < 6; ++i)
        EXPECT_NEAR(bars.at(i), share * std::min(0.2 * double(i + 1), 1.0), 1e-9) << i;

    bars.clear();
    window.copyStarted(1);
    ASSERT_TRUE(waitFor([this] { return bars.size() >= 2; }));
    EXPECT_NEAR(bars.last(), share, 1);
    bars.clear();
    window.copyStarted(2);
    EXPECT_NEAR(bars.value(0), 2 * share, 1e-9);
    ASSERT_TRUE(waitFor([this] { return bars.size() >= 3; }));
    EXPECT_NEAR(bars.at(2), 3 * share, 1e-9);
}

TEST_F(DownloadWindowTest, ARowThatIsNoneIsAnError)
{
    addTitle(u"42"_s);
    for (const int index : {-1, 1}) {
        window.beginRun(&loader);
        window.copyStarted(index);
        EXPECT_EQ(shown().headline, u"download_window_error"_s);
    }
    EXPECT_EQ(states(), States{DownloadType::Waiting});
}

TEST_F(DownloadWindowTest, NoAnswerLeavesOkOnlyWhateverAnEarlierRunLeft)
{
    addTitle(u"42"_s).downloadType = DownloadType::Ready;
    window.beginRun(&loader);
    QueueWindow::postNoResponseFromServer();
    EXPECT_TRUE(shown().okEnabled && !shown().cancelEnabled);
    window.resetProgress();
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(shown().headline, u"label_no_response_from_server"_s);
    EXPECT_EQ(events, QStringList(u"ended"_s));
}

TEST_F(DownloadWindowTest, TheBarNeverStartsBelowWhatIsReady)
{
    addTitle(u"42"_s).downloadType = DownloadType::Ready;
    addTitle(u"43"_s, 0);
    serveTitle("43", {.body = "content"});
    window.beginRun(&loader);
    window.resetProgress();
    EXPECT_EQ(shown().bar, 50);
    bars.clear();
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(waitForEnd());
    EXPECT_EQ(std::count_if(bars.begin(), bars.end(), [](double bar) { return bar < 50; }), 0);
    EXPECT_EQ(shown().bar, 100);
}

TEST_F(DownloadWindowTest, CancelStopsTheRunAndReloads)
{
    const auto gate = std::make_shared<FaultServer::Gate>();
    addTitle(u"42"_s, 0);
    addTitle(u"43"_s);
    serveTitle("42",
               {.body = bytes(100'000), .fault = Fault::Stall, .faultAt = 50'000, .gate = gate});
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(gate->waitUntilReached());
    window.cancelBtnKlicked();
    EXPECT_EQ(events, QStringList({u"close"_s, u"ended"_s}));
    EXPECT_TRUE(waitFor([this] { return events.size() == 4; }));
    settle();
    EXPECT_EQ(events.mid(2), QStringList({u"loadData 2"_s, u"showBooksView"_s}));
    EXPECT_TRUE(isStopped(window.phase()));
    EXPECT_EQ(shown().headline, u"label_stopped"_s);

    QueueWindow::postStartElementDownloads();
    window.onItemClicked(1, DownloadWindowController::cancelColumn);
    EXPECT_EQ(shown().headline, u"label_stopped"_s);
    EXPECT_EQ(requestsForTitles(), 1);
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
}

TEST_F(DownloadWindowTest, CancelWhileCopyingLeavesTheOldFile)
{
    pen.write(u"book/00042_en.qnk"_s, "old");
    addTitle(u"42"_s, 0);
    addTitle(u"43"_s);
    serveTitle("42", {.body = "content"});
    held.hold();
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(held.waitUntilHeld());
    ASSERT_TRUE(waitFor([this] { return states().first() == DownloadType::Copying; }));
    window.cancelBtnKlicked();
    EXPECT_TRUE(waitFor([this] { return events.contains(u"showBooksView"_s); }));
    held.release();
    settle();
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00042_en.qnk"_s));
    EXPECT_EQ(pen.read(u"book/00042_en.qnk"_s), "old");
    EXPECT_EQ(shown().headline, u"label_stopped"_s);
    EXPECT_EQ(events.count(u"ended"_s), 1);
    EXPECT_EQ(states(), States({DownloadType::Copying, DownloadType::Waiting}));
    EXPECT_EQ(requestsForTitles(), 1);
}

TEST_F(DownloadWindowTest, APulledPenEndsTheRunUntilTheNext)
{
    addTitle(u"42"_s);
    serveTitle("42", {.body = bytes(1000), .fault = Fault::Stall, .faultAt = 500});
    QueueWindow::postStartElementDownloads();
    window.interrupt(RunPhase::PenRemoved);
    EXPECT_EQ(events, QStringList(u"ended"_s));
    EXPECT_FALSE(window.isWorking());
    QueueWindow::postDownloadPercentage(50);
    window.copyStarted(0);
    window.copyFailed({});
    EXPECT_NE(states().first(), DownloadType::Copying);
    EXPECT_EQ(events.size(), 1);
    EXPECT_EQ(shown().headline, u"label_pen_removed"_s);
    EXPECT_TRUE(shown().okEnabled && !shown().cancelEnabled);

    window.beginRun(&loader);
    EXPECT_FALSE(isStopped(window.phase()));
    EXPECT_EQ(shown().headline, u"label_downloading"_s);
    EXPECT_EQ(shown().bar, 0);
    EXPECT_TRUE(isPending());
}

TEST_F(DownloadWindowTest, OkReloadsEmptiesTheQueueAndTidiesUp)
{
    addTitle(u"42"_s).downloadType = DownloadType::Ready;
    pen.write(u".Spotlight/x"_s, "x");
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(waitForEnd());
    events.clear();
    window.okBtnKlicked();
    EXPECT_EQ(events, QStringList({u"loadData 1"_s, u"showBooksView"_s, u"close"_s}));
    EXPECT_TRUE(updateElements().isEmpty());
    EXPECT_FALSE(pen.exists(u".Spotlight"_s));
}

TEST_F(DownloadWindowTest, OkDuringARunLeavesTheQueueToIt)
{
    addTitle(u"42"_s);
    window.beginRun(&loader);
    QueueWindow::postNoResponseFromServer();
    EXPECT_TRUE(shown().okEnabled);
    window.okBtnKlicked();
    EXPECT_EQ(events.last(), u"close"_s);
    EXPECT_EQ(updateElements().size(), 1);
    serveTitle("42", {.body = "x"});
    QueueWindow::postStartElementDownloads();
    ASSERT_TRUE(waitForEnd());
    addRow(UpdateFileType::bin, 8); // known late
    window.okBtnKlicked();
    EXPECT_EQ(states(), States{DownloadType::Waiting});
}
