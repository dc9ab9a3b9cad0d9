#include "tests/sync/UpdateRunFixture.h"

#include "library/LibraryLists.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

TEST_F(UpdateRunTest, BringsAnOutdatedTitleUpToDate)
{
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready));
    expectHeadline(u"label_download_complete"_s);
    EXPECT_EQ(window().step, u"100 %"_s);
    EXPECT_TRUE(window().okEnabled);
    EXPECT_EQ(updateElements().first().contentLength, content.size());
    EXPECT_EQ(updateElements().first().image.value_or(CoverImage()).path,
              rig.pen.volumePath(u"book/00042_en.png"_s));
    EXPECT_EQ(totalBytesToDownload(), content.size());
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
    const auto ask = [this] {
        rig.pen.write(u"configure/tbd.txt"_s, "MID=1234\n");
        rig.serveCatalogue(R"({"01234":1})", {UpdateRig::title(1234, "Neu")},
                           {UpdateRig::title(1234, "Neu")});
        ASSERT_TRUE(rig.run());
    };
    ask(); // the server has no content of it
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

TEST_F(UpdateRunTest, LoadsNewSystemSoftwareAndRemovesStaleImages)
{
    rig.pen.write(u"configure/settings.ini"_s, "ImageVersion = 5 \nfirmwareVersion=12\n");
    for (const QString &name : {u"imageisoV3.iso"_s, u"imageisoV6.iso"_s, u"readme.iso"_s})
        rig.pen.write(u"configure/"_s + name, "older, newer, without a number");
    rig.putTitle(u"00042_en"_s, 3);
    serveCatalogueOfOne();
    rig.server.serve("/imageversion", "7");
    rig.server.serve("/firmwareversion", "13");
    rig.server.serve("/software/imageisoV7.iso", content);
    rig.server.serve("/software/firmwareV13.bin", "firmware");
    ASSERT_TRUE(rig.run());
    EXPECT_THAT(rig.pen.names(u"configure"_s),
                ElementsAre(u"firmwareV13.bin"_s, u"imageisoV6.iso"_s, u"imageisoV7.iso"_s,
                            u"readme.iso"_s, u"settings.ini"_s, u"tbd.txt"_s));
    EXPECT_EQ(rig.pen.read(u"configure/imageisoV7.iso"_s), content);
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready, DownloadType::Ready));
}

TEST_F(UpdateRunTest, SystemSoftwareStandsBeforeTheTitles)
{
    rig.putTitle(u"00042_en"_s, 2);
    serveCatalogueOfOne();
    rig.serveContent(42, 3, content);
    rig.server.serve("/firmwareversion", {.body = "2", .hold = gate});
    rig.server.serve("/software/firmwareV2.bin", "firmware");
    rig.service->updateAll();
    // The catalogue is known before the software's version.
    ASSERT_TRUE(rig.server.waitForRequests("/medias", 2));
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready, DownloadType::Ready));
    EXPECT_EQ(updateElements().first().updateFileType, UpdateFileType::bin);
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
    rig.server.serve("/log", "");
    rig.service->updateAll();
    EXPECT_TRUE(QTest::qWaitFor([this] { return rig.pen.read(u"configure/log.txt"_s).isEmpty(); }));
    EXPECT_TRUE(rig.pen.exists(u"configure/log.txt"_s));
}

TEST_F(UpdateRunTest, ContentOfATitleThatIsKnownNoMoreKeepsItsMetadata)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                           {{.body = content}, {.body = content, .hold = gate}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    pendingElements().clear();
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_TRUE(onPen(u".txt"_s).startsWith("Name: Old\n"));
}

TEST_F(UpdateRunTest, AContentThatFailsTwiceIsGivenUpAndTheNextOneLoaded)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 2);
    serveCatalogueOfTwo();
    rig.serveContent(43, 3, content);
    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503, .body = "error page"});
    ASSERT_TRUE(rig.run());
    expectOldTitle();
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), content);
    EXPECT_THAT(states(), testing::UnorderedElementsAre(DownloadType::Failed, DownloadType::Ready));
    expectHeadline(u"label_some_failed"_s);
    EXPECT_TRUE(window().cancelEnabled && !window().okEnabled);
    EXPECT_LT(window().bar, 100);

    // The next run tries the address again, and counts its own bytes only.
    rig.serveContent(42, 3, content);
    serveCatalogueOfTwo();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    expectHeadline(u"label_download_complete"_s);
    EXPECT_EQ(totalBytesToDownload(), content.size());
    EXPECT_EQ(totalBytesDownloaded(), content.size());
}

TEST_F(UpdateRunTest, ARunAskedForDuringAnotherFollowsIt)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn("/versions",
                           {{.body = R"({"00042":3})", .hold = gate}, {.body = R"({"00042":3})"}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.service->updateAll();
    rig.service->updateAll();
    gate->open();
    ASSERT_TRUE(rig.server.waitForRequests("/versions", 2));
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_EQ(rig.server.requests("/versions").size(), 2);
    EXPECT_EQ(logEntries().count(u"updateAll Beginn"_s), 2);
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
    clearLibraryLists();
    ASSERT_TRUE(rig.waitForEnd());
    expectHeadline(u"label_pen_removed"_s);
    expectOldTitle();

    rig.pen.plugIn();
    serveCatalogueOfOne();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
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
            rig.service->updateAll();
            ASSERT_TRUE(held->waitUntilReached());
            if (isPulled)
                rig.service->penRemoved();
            else
                controller().cancelBtnKlicked();
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

} // namespace
