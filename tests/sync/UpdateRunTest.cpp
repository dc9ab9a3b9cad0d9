#include "tests/sync/UpdateRunFixture.h"

#include "platform/SharedSession.h"
#include "platform/URLSession.h"
#include "sync/ElementUpdateService.h"

#include <QFileInfo>

#include <future>
#include <thread>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using Reply = FaultServer::Reply;

namespace {

TEST_F(UpdateRunTest, BringsAnOutdatedTitleUpToDate)
{
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready));
    expectHeadline(u"label_download_complete"_s);
    EXPECT_THAT(rig.pen.names(u"book"_s),
                ElementsAre(u"00042_en.png"_s, u"00042_en.qnk"_s, u"00042_en.txt"_s));

    // What says the same is not written again.
    const QDateTime then = QDateTime::currentDateTime().addDays(-1);
    setTime(u"book/00042_en.txt"_s, then);
    serveCatalogueOfOne();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(QFileInfo(rig.pen.path(u"book/00042_en.txt"_s)).lastModified(), then);
}

TEST_F(UpdateRunTest, WhatIsAskedForAnewIsReplacedOnlyByTheWholeNew)
{
    rig.putTitle(u"01234_en"_s, 1);
    rig.pen.write(u"configure/tbd.txt"_s, "MID=1234\n");
    rig.serveCatalogue(R"({"01234":1})", {}, {UpdateRig::title(1234, "Neu")});
    ASSERT_TRUE(rig.run()); // the server has no content of it
    EXPECT_THAT(states(), ElementsAre(DownloadType::Failed));
    EXPECT_EQ(onPen(u".qnk"_s, u"01234_en"_s), "old content");
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=1234\n");
    rig.serveContent(1234, 1, content);
    rig.serveCatalogue(R"({"01234":1})", {}, {UpdateRig::title(1234, "Neu")});
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "");
    EXPECT_EQ(onPen(u".qnk"_s, u"01234_en"_s), content);
    EXPECT_TRUE(onPen(u".txt"_s, u"01234_en"_s).startsWith("Name: Neu\n"));
}

TEST_F(UpdateRunTest, LoadsNewSystemSoftwareBeforeTheTitlesAndRemovesStaleImages)
{
    rig.pen.write(u"configure/settings.ini"_s, "ImageVersion = 5 \nfirmwareVersion=12\n");
    for (const QString &name : {u"imageisoV3.iso"_s, u"imageisoV6.iso"_s, u"readme.iso"_s})
        rig.pen.write(u"configure/"_s + name, "older, newer, without a number");
    serveOneOutdatedTitle();
    rig.server.serve("/imageversion", "7");
    rig.server.serve("/firmwareversion", {.body = "13", .hold = gate});
    rig.server.serve("/software/imageisoV7.iso", content);
    rig.server.serve("/software/firmwareV13.bin", "firmware");
    rig.service->updateAll();
    // The catalogue is known before the software's version.
    ASSERT_TRUE(rig.server.waitForRequests("/medias", 2));
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_THAT(rig.pen.names(u"configure"_s),
                ElementsAre(u"firmwareV13.bin"_s, u"imageisoV6.iso"_s, u"imageisoV7.iso"_s,
                            u"readme.iso"_s, u"settings.ini"_s, u"tbd.txt"_s));
    EXPECT_EQ(rig.pen.read(u"configure/imageisoV7.iso"_s), content);
    EXPECT_EQ(states(), QList<DownloadType>(3, DownloadType::Ready));
    EXPECT_EQ(updateElements().last().updateFileType, UpdateFileType::qnk);
    expectNewTitle();
}

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
    serveOneOutdatedTitle();
    rig.putTitle(u"00043_en"_s, 2);
    serveCatalogueOfTwo();
    rig.serveContent(43, 3, content);
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

TEST_F(UpdateRunTest, PulledDuringADownloadNothingIsWrittenAndTheNextPlugInMakesItWhole)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn(
        UpdateRig::contentPath(42, 3),
        {{.body = content},
         {.body = content, .fault = Fault::Stall, .faultAt = 100'000, .gate = gate},
         {.body = content}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.pen.pullOut();
    rig.service->penRemoved();
    ASSERT_TRUE(rig.waitForEnd());
    expectHeadline(u"label_pen_removed"_s);
    expectOldTitle();

    rig.pen.plugIn();
    updateElements() = QList<UpdateElement>(50); // of earlier runs
    for (UpdateElement &row : updateElements())
        row.downloadType = DownloadType::Ready;
    serveCatalogueOfOne();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_EQ(updateElements().last().contentLength, content.size());
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

TEST_F(UpdateRunTest, CancelledDuringADownloadItAsksForNothingMoreAndLeavesWhatWas)
{
    const Reply cut{.body = content, .fault = Fault::Close, .faultAt = 50'000};
    for (const bool isResumed : {false, true}) {
        const auto stalled = std::make_shared<Gate>();
        const Reply stalls{
            .body = content, .fault = Fault::Stall, .faultAt = 100'000, .gate = stalled};
        rig.putTitle(u"00043_en"_s, 2);
        setTime(u"book/00043_en.txt"_s, QDateTime::currentDateTime().addDays(-1)); // comes second
        serveOneOutdatedTitle();
        serveCatalogueOfTwo();
        rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                               {{.body = content}, isResumed ? cut : stalls, stalls});
        rig.server.forgetRequests();
        rig.service->updateAll();
        ASSERT_TRUE(stalled->waitUntilReached());
        controller().cancelBtnKlicked();
        EXPECT_FALSE(rig.service->isRunning());
        ASSERT_TRUE(QTest::qWaitFor([this, before = rig.loads] { return rig.loads > before; }));
        waitForRest();
        QueueWindow::postStartElementDownloads();
        drop(u"43"_s);
        expectHeadline(u"label_stopped"_s);
        EXPECT_THAT(states(), ElementsAre(DownloadType::Downloading, DownloadType::Canceled));
        expectOldTitle();
        EXPECT_EQ(rig.pen.names(u"book"_s).size(), 6);
        EXPECT_EQ(rig.server.requests(UpdateRig::contentPath(42, 3)).size(), isResumed ? 3 : 2);
        EXPECT_EQ(rig.server.requests(UpdateRig::contentPath(43, 3)).size(), 1) << "HEAD";
    }
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
