#include "tests/sync/UpdateRunFixture.h"

#include "library/LibraryLists.h"
#include "platform/Bundle.h"

using namespace Qt::StringLiterals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

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
}

TEST_F(UpdateRunTest, AsksWithTheExactAddresses)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"01234_en"_s, 1);
    rig.pen.write(u"configure/tbd.txt"_s, "x MID=0007 y\nMID=\nMID=1234");
    rig.pen.write(u"configure/log.txt"_s, "MID=12\nMID=12\nMID=345\n");
    rig.serveCatalogue(R"({"00042":3,"01234":1})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(1234, "Neu")},
                       {UpdateRig::title(7, "Neu", "de"), UpdateRig::title(1234, "Neu")});
    rig.serveContent(42, 3, content);
    rig.serveContent(1234, 1, content);
    ASSERT_TRUE(rig.run());

    QList<QByteArray> catalogue;
    QList<QByteArray> others;
    for (const FaultServer::Request &request : rig.server.requests()) {
        const bool isCatalogue =
            request.target.startsWith("/medias") || request.target.startsWith("/versions");
        (isCatalogue ? catalogue : others) += request.method + ' ' + request.target;
    }
    EXPECT_THAT(catalogue, ElementsAre("GET /versions",
                                       "GET /medias?mids=%221234%22,%2242%22,%220007%22,%221234%22",
                                       "GET /medias?mids=%220007%22,%221234%22"));
    EXPECT_THAT(others,
                IsSupersetOf({QByteArray("POST /log"), "HEAD " + UpdateRig::contentPath(42, 3)}));
    EXPECT_THAT(others, Contains("GET " + UpdateRig::contentPath(42, 3)));
    EXPECT_EQ(rig.server.requests("/log").first().header("Content-Type"), "application/json");
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "");
    EXPECT_TRUE(rig.pen.exists(u"configure/tbd.txt"_s));
    EXPECT_TRUE(onPen(u".txt"_s, u"00007_de"_s).startsWith("Name: Neu\n"));
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

TEST_F(UpdateRunTest, TracesItsStepsInTheLog)
{
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    const QStringList entries = logEntries();
    const auto expectInOrder = [&entries](const QStringList &steps) {
        QStringList found;
        for (const QString &entry : entries) {
            const QString step = entry.mid(10);
            if (entry.startsWith(u"updateAll "_s) && steps.contains(step))
                found += step;
        }
        EXPECT_EQ(found, steps);
    };
    expectInOrder({u"Beginn"_s, u"nach postLogFIleMidsToServer"_s, u"nach versionService.perform"_s,
                   u"nach getTextFileContentFromPen"_s, u"localMediaArray length: 1"_s,
                   u"nach localMediasArray forEach"_s, u"nach loadData"_s, u"Ende"_s});
    // The planning runs beside the end of the function.
    expectInOrder({u"in"_s, u"nach missing ..."_s, u"in DispatchQueue"_s, u"if"_s,
                   u"nach triggerElementDownloads"_s});
    expectInOrder({u"in 2"_s});
}

TEST_F(UpdateRunTest, SaysWhatItDecidesOnTheDebugLog)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 5);
    rig.putTitle(u"00099_en"_s, 1);
    rig.pen.write(u"book/00044_en.qnk"_s, "without metadata");
    rig.pen.write(u"book/00098_en.qnk"_s, "unknown");
    QFile unknown(rig.pen.path(u"book/00098_en.qnk"_s));
    ASSERT_TRUE(unknown.open(QFile::ReadWrite)
                && unknown.setFileTime(QDateTime::currentDateTime().addDays(1),
                                       QFile::FileModificationTime));
    rig.serveCatalogue(R"({"00042":3,"00043":5,"00044":1})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat"),
                        UpdateRig::title(44, "Ritter")});
    rig.serveContent(42, 3, content);
    CapturedOutput output;
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(windowShown.size(), 1);
    EXPECT_FALSE(rig.pen.exists(u"book/00044_en.txt"_s)) << "stands behind an unknown title";
    EXPECT_THAT(output.lines(),
                IsSupersetOf({u"\"Did not find a matching remote element for 98.\""_s,
                              u"\"Did not find a matching remote element for 99.\""_s,
                              u"\"Will show download window due to outstanding updates or "
                              u"downloads.\""_s,
                              u"\"Queued update element for local media 42 (REMOTE 3 > LOCAL 2), "
                              u"content length is 0\""_s,
                              u"\"No MIDs found in TBD file\""_s, u"\"now i got all responses\""_s,
                              u"\"VersionService reports that NO update is needed.\""_s,
                              u"\"firmware-file up to date\""_s, u"\"iso-file up to date\""_s}));
    EXPECT_TRUE(onPen(u".txt"_s, u"00043_en"_s).startsWith("Name: Pirat\n"));
}

TEST_F(UpdateRunTest, WithoutPenAsksNobody)
{
    rig.pen.remove(u"configure/settings.ini"_s);
    CapturedOutput output;
    rig.service->updateAll();
    EXPECT_FALSE(rig.service->isRunning());
    EXPECT_THAT(output.lines(), Contains(u"\"Quillo is not connected. Skipping updateAll()\""_s));
    EXPECT_EQ(logEntries().last(), u"updateAll return"_s);
    EXPECT_TRUE(rig.server.requests().isEmpty());
}

TEST_F(UpdateRunTest, FetchesContentCoverAndMetadataThatAreMissing)
{
    rig.putTitle(u"00042_en"_s, 2, false, false);
    rig.pen.write(u"book/00043_en.qnk"_s, "content");
    serveCatalogueOfTwo();
    rig.serveContent(42, 3, content);
    rig.server.serve("/files/7/42/42_en.png", pngPicture(30, 40));
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready)) << "out of date and missing is one row";
    EXPECT_TRUE(QTest::qWaitFor([] {
        return updateElements().first().image.value_or(CoverImage()).size == QSize(30, 40);
    }));
    EXPECT_EQ(onPen(u".png"_s), pngPicture(30, 40));
    EXPECT_TRUE(onPen(u".txt"_s, u"00043_en"_s).contains("Book Version: 3\n"));
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), "content");
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
    CapturedOutput output;
    rig.service->updateAll();
    // The check may well be slower than the planning of the titles.
    ASSERT_TRUE(QTest::qWaitFor([] { return updateElements().size() == 2 && !queueHasOpenRows(); },
                                20'000));
    EXPECT_THAT(output.lines(),
                IsSupersetOf({u"\"firmware-file remoteversion 13 > localversion 12 ?\""_s,
                              u"\"iso-file remoteversion 7 > localversion 5 ?\""_s,
                              u"\"Will skip element download for type iso\""_s,
                              u"\"Will skip element download for type bin\""_s,
                              u"\"VersionService reports that an update is needed.\""_s}));
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
    const UpdateElement &software = updateElements().first();
    EXPECT_EQ(software.updateFileType, UpdateFileType::bin);
    EXPECT_EQ(software.title, u"Systemsoftware"_s);
    EXPECT_EQ(software.image.value_or(CoverImage()).path, Bundle::imagePath(u"Firmware_icon"_s));
    EXPECT_EQ(software.contentLength, 8);
    EXPECT_EQ(totalBytesToDownload(), content.size() + 8);
    expectNewTitle();
}

TEST_F(UpdateRunTest, SystemSoftwareKnownLateIsStillLoaded)
{
    rig.putTitle(u"00042_en"_s, 3);
    serveCatalogueOfOne();
    rig.server.serve("/firmwareversion", {.body = "2", .hold = gate});
    rig.server.serve("/software/firmwareV2.bin", "firmware");
    ASSERT_TRUE(rig.run());
    EXPECT_FALSE(rig.pen.exists(u"configure/firmwareV2.bin"_s));
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return rig.pen.read(u"configure/firmwareV2.bin"_s) == "firmware"; }, 10'000));
    EXPECT_TRUE(rig.waitForEnd());
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
    QByteArray body = rig.server.requests("/log").last().body;
    EXPECT_TRUE(body.contains('\n'));
    EXPECT_EQ(body.simplified().replace(' ', ""), R"(["b","12"])");
}

TEST_F(UpdateRunTest, ContentOfATitleThatIsKnownNoMoreKeepsItsMetadata)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                           {{.body = content}, {.body = content, .hold = gate}});
    CapturedOutput output;
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    pendingElements().clear();
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_TRUE(onPen(u".txt"_s).startsWith("Name: Old\n"));
    EXPECT_THAT(output.lines(), Contains(u"\"Failed to update TXT file after new QNK download for "
                                         u"media with MID 42\""_s));
}

TEST_F(UpdateRunTest, ADroppedTransferIsResumedAndKeepsTheMetadataInStep)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn(UpdateRig::contentPath(42, 3),
                           {{.body = content},
                            {.body = content, .fault = Fault::Close, .faultAt = 200'000},
                            {.body = content}});
    CapturedOutput output;
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_TRUE(rig.server.requests().last().header("Range").startsWith("bytes="));
    EXPECT_THAT(output.lines(),
                Contains(u"\"Failed to download QNK contents for element ID 00042_en\""_s));
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

    // The next run tries the address again.
    rig.serveContent(42, 3, content);
    serveCatalogueOfTwo();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    expectHeadline(u"label_download_complete"_s);
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

TEST_F(UpdateRunTest, PulledWhileTheServersAreAskedNothingIsWritten)
{
    serveOneOutdatedTitle();
    rig.pen.write(u"configure/tbd.txt"_s, "MID=7");
    rig.server.serveInTurn("/medias", {{.body = "[]"}, {.body = "[]", .hold = gate}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    CapturedOutput output;
    rig.service->penRemoved();
    EXPECT_FALSE(rig.service->isRunning());
    // A pen that is there again belongs to the next run, not to the one that was cut off.
    gate->open();
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")},
                       {UpdateRig::title(7, "Neu")});
    rig.serveContent(7, 1, "seven");
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(output.lines().count(u"\"now i got all responses\""_s), 1);
    expectNewTitle();
    EXPECT_TRUE(rig.pen.exists(u"book/00007_en.txt"_s));
}

TEST_F(UpdateRunTest, CancelWhileTheServersAreAskedEndsTheRun)
{
    serveOneOutdatedTitle();
    rig.server.serve("/versions", {.body = R"({"00042":3})", .hold = gate});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.service->downloadWindowController().cancelBtnKlicked();
    EXPECT_FALSE(rig.service->isRunning());
    gate->open();
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
}

} // namespace
