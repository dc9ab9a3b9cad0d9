#include "tests/sync/UpdateRunFixture.h"

#include "platform/SharedSession.h"
#include "platform/URLSession.h"
#include "sync/ElementUpdateService.h"

#include <QDateTime>
#include <QFileInfo>

#include <future>
#include <thread>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using Reply = FaultServer::Reply;

namespace {

TEST_F(UpdateRunTest, TheLogIsEmptiedOnlyByA200)
{
    serveOneOutdatedTitle();
    rig.pen.write(u"configure/log.txt"_s, "a=b=c\nMID= 12 \n");
    const FaultServer::Reply cut{.body = "accepted", .fault = Fault::Close, .faultAt = 4};
    for (const FaultServer::Reply &refusal :
         {{.status = 500}, {.status = 201}, {.status = 204}, cut}) {
        rig.server.serve("/log", refusal);
        ASSERT_TRUE(rig.run());
        EXPECT_TRUE(rig.pen.read(u"configure/log.txt"_s).startsWith("a=b=c")) << refusal.status;
    }
    // Also when the run is cancelled meanwhile.
    rig.server.serve("/log", {.hold = gate});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    controller().cancelBtnKlicked();
    EXPECT_FALSE(rig.service->isRunning());
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor([this] { return rig.pen.read(u"configure/log.txt"_s).isEmpty(); }));
    EXPECT_TRUE(rig.pen.exists(u"configure/log.txt"_s));
}

TEST_F(UpdateRunTest, TheNextRunTriesWhatFailedAgainAndCountsItsOwnBytesOnly)
{
    serveTwoOutdatedTitles();
    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503, .body = "error page"});
    ASSERT_TRUE(rig.run());
    expectHeadline(u"label_some_failed"_s);
    EXPECT_LT(window().bar, 100);
    rig.serveContent(42, 3, content);
    serveCatalogueOfTwo();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    expectHeadline(u"label_download_complete"_s);
    EXPECT_EQ(totalBytesToDownload(), content.size());
    EXPECT_EQ(totalBytesDownloaded(), content.size());

    // What says the same is not written again.
    const QDateTime then = QDateTime::currentDateTime().addDays(-1);
    setTime(u"book/00042_en.txt"_s, then);
    serveCatalogueOfTwo();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(QFileInfo(rig.pen.path(u"book/00042_en.txt"_s)).lastModified(), then);
}

TEST_F(UpdateRunTest, ARunAskedForDuringAnotherFollowsItAndContentOfAnUnknownTitleKeepsItsMetadata)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                           {{.body = content}, {.body = content, .hold = gate}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.service->updateAll();
    rig.service->updateAll();
    pendingElements().clear();
    gate->open();
    ASSERT_TRUE(rig.server.waitForRequests("/versions", 2));
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_EQ(rig.server.requests("/versions").size(), 2);
    EXPECT_EQ(logEntries().count(u"updateAll Beginn"_s), 2);
    EXPECT_EQ(onPen(u".qnk"_s), content);
    EXPECT_TRUE(onPen(u".txt"_s).startsWith("Name: Old\n"));
}

TEST_F(UpdateRunTest, StoppedWhileTheServersAreAskedItEndsAndTheNextOneIsWhole)
{
    const QByteArray versions = R"({"00042":3})";
    const QByteArray titles = '[' + UpdateRig::title(42, "Drache") + ']';
    for (const bool isPulled : {true, false}) {
        for (const char *path : {"/versions", "/medias", "/firmwareversion"}) {
            SCOPED_TRACE(path);
            const auto held = std::make_shared<Gate>();
            rig.pen.write(u"configure/tbd.txt"_s, "MID=7");
            serveOneOutdatedTitle();
            rig.server.serve("/versions", versions);
            rig.server.serve("/medias", titles);
            rig.server.serve(path, {.body = titles, .hold = held});
            rig.server.forgetRequests();
            rig.service->updateAll();
            ASSERT_TRUE(held->waitUntilReached());
            const bool isBeside = QByteArray(path) == "/firmwareversion"; // the catalogue
            ASSERT_TRUE(rig.server.waitForRequests("/medias", isBeside ? 2 : 0));
            if (isPulled) {
                rig.service->updateAll(); // a wish that goes with the pen
                rig.service->penRemoved();
            } else {
                controller().cancelBtnKlicked();
            }
            QCoreApplication::sendPostedEvents();
            EXPECT_FALSE(rig.service->isRunning());
            expectHeadline(isPulled ? u"label_pen_removed"_s : u"label_stopped"_s);
            held->open();
            rig.server.serve("/firmwareversion", "1");
            rig.serveCatalogue(versions, {UpdateRig::title(42, "Drache")},
                               {UpdateRig::title(7, "Neu")});
            rig.serveContent(7, 1, "seven");
            ASSERT_TRUE(rig.run());
            expectNewTitle();
            EXPECT_EQ(onPen(u".qnk"_s, u"00007_en"_s), "seven");
            EXPECT_EQ(totalBytesToDownload(), content.size() + 5);
            rig.pen.remove(u"book"_s);
            updateElements().clear();
        }
    }
}

TEST_F(UpdateRunTest, WhatWasPlannedWhenItIsStoppedIsNotOfTheNextRun)
{
    for (const bool isNextAtOnce : {false, true}) {
        pendingElements().clear();
        rig.putTitle(u"00042_en"_s, 2);
        rig.pen.write(u"configure/tbd.txt"_s, "MID=7\n");
        rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")},
                           {UpdateRig::title(7, "Neu")});
        rig.service->updateAll();
        // The main thread hears of nothing before all is planned.
        while (!rig.pen.exists(u"book/00007_en.txt"_s))
            std::this_thread::yield();
        std::promise<void> planned;
        sharedSession().async([&planned] { planned.set_value(); });
        planned.get_future().wait();
        rig.service->penRemoved();
        rig.pen.remove(u"book/00007_en.txt"_s);
        rig.serveCatalogue(R"({"00042":2})", {UpdateRig::title(42, "Drache")});
        if (isNextAtOnce)
            rig.service->updateAll();
        QCoreApplication::processEvents();
        EXPECT_TRUE(isNextAtOnce ? rig.waitForEnd() : !rig.service->isRunning());
        EXPECT_EQ(pendingElements().isEmpty(), !isNextAtOnce) << "nothing but its own answers";
        EXPECT_TRUE(updateElements().isEmpty());
        EXPECT_EQ(windowShown.size(), isNextAtOnce ? 1 : 0);
    }
}

TEST_F(UpdateRunTest, StoppedDuringADownloadItAsksForNothingMoreAndTheNextOneMakesItWhole)
{
    enum class Stop { Cancelled, CancelledWhenResumed, Pulled };
    const Reply cut{.body = content, .fault = Fault::Close, .faultAt = 50'000};
    for (const Stop stop : {Stop::Cancelled, Stop::CancelledWhenResumed, Stop::Pulled}) {
        const bool isResumed = stop == Stop::CancelledWhenResumed;
        const auto stalled = std::make_shared<Gate>();
        const Reply stalls{
            .body = content, .fault = Fault::Stall, .faultAt = 100'000, .gate = stalled};
        serveTwoOutdatedTitles();
        rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                               {{.body = content}, isResumed ? cut : stalls, stalls});
        rig.server.forgetRequests();
        rig.service->updateAll();
        ASSERT_TRUE(stalled->waitUntilReached());
        if (stop == Stop::Pulled) {
            rig.pen.pullOut();
            rig.service->penRemoved();
        } else {
            controller().cancelBtnKlicked();
            ASSERT_TRUE(QTest::qWaitFor([this, before = rig.loads] { return rig.loads > before; }));
        }
        EXPECT_FALSE(rig.service->isRunning());
        waitForRest();
        QueueWindow::postStartElementDownloads();
        drop(u"43"_s);
        expectHeadline(stop == Stop::Pulled ? u"label_pen_removed"_s : u"label_stopped"_s);
        EXPECT_THAT(states(), ElementsAre(DownloadType::Downloading, DownloadType::Canceled));
        expectOldTitle();
        EXPECT_EQ(rig.pen.names(u"book"_s).size(), 6);
        EXPECT_EQ(rig.server.requests(UpdateRig::contentPath(42, 3)).size(), isResumed ? 3 : 2);
        EXPECT_EQ(rig.server.requests(UpdateRig::contentPath(43, 3)).size(), 1) << "HEAD";
    }
    rig.pen.plugIn();
    updateElements() = QList<UpdateElement>(50); // of earlier runs
    for (UpdateElement &row : updateElements())
        row.downloadType = DownloadType::Ready;
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_EQ(updateElements().last().contentLength, content.size());
}

TEST_F(UpdateRunTest, SoftwareThatHasStartedCannotBeCancelledButGoesNoFurtherWithoutPen)
{
    rig.server.serveInTurn("/firmwareversion", {{.body = "2"}, {.body = "2", .hold = gate}});
    rig.server.serve("/software/firmwareV2.bin", "firmware");
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    EXPECT_FALSE(window().cancelEnabled);
    rig.service->penRemoved();
    gate->open();
    for (int trip = 0; trip < 3; ++trip) { // time to hear the answer, and to ask for the file
        std::atomic<bool> isAnswered = false;
        ElementUpdateService::fetchText(rig.server.url("/log"), {},
                                        [&](const QString &) { isAnswered = true; });
        ASSERT_TRUE(QTest::qWaitFor([&] { return isAnswered.load(); }));
    }
    EXPECT_EQ(rig.server.requests("/software/firmwareV2.bin").size(), 1) << "HEAD";
}

} // namespace
