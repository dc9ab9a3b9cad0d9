#include "download/DownloadQueue.h"
#include "download/DownloadWindowController.h"
#include "library/LibraryLists.h"
#include "tests/support/Output.h"
#include "tests/support/UpdateRig.h"
#include "ui/Localization.h"

#include <QSignalSpy>
#include <QTest>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsSupersetOf;

namespace {

constexpr auto newMetadata = "Name: Drache\nPublisher: Verlag\nAuthor: Ada\nBook Area Code: en\n"
                             "ISBN: 978\nType: Buch\nBook Version: 3\n";

class UpdateRun : public testing::Test
{
protected:
    QList<QByteArray> targets(const QByteArray &method) const
    {
        QList<QByteArray> result;
        for (const FaultServer::Request &request : rig.server.requests()) {
            if (request.method == method)
                result += request.target;
        }
        return result;
    }

    QList<DownloadType> states() const
    {
        QList<DownloadType> result;
        for (const UpdateElement &row : std::as_const(updateElements()))
            result += row.downloadType;
        return result;
    }

    const DownloadPresentation &window()
    {
        return rig.service->downloadWindowController().presentation();
    }

    void serveOneOutdatedTitle()
    {
        rig.putTitle(u"00042_en"_s, 2);
        rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
        rig.serveContent(42, 3, content);
    }

    UpdateRig rig;
    const QByteArray content = QByteArray("0123456789").repeated(30'000);
};

TEST_F(UpdateRun, BringsAnOutdatedTitleUpToDate)
{
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());

    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), newMetadata);
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready));
    EXPECT_EQ(window().headline, localized(u"label_download_complete"_s));
    EXPECT_EQ(window().step, u"100 %"_s);
    EXPECT_TRUE(window().okEnabled);
    EXPECT_THAT(rig.pen.names(u"book"_s),
                ElementsAre(u"00042_en.png"_s, u"00042_en.qnk"_s, u"00042_en.txt"_s));
}

TEST_F(UpdateRun, AsksInOrderWithTheExactAddresses)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"01234_en"_s, 1);
    rig.pen.write(u"configure/tbd.txt"_s, "x MID=0007 y\nMID=\n");
    rig.pen.write(u"configure/log.txt"_s, "MID=12\nMID=12\nMID=345\n");
    rig.serveCatalogue(R"({"00042":3,"01234":1})", {UpdateRig::title(42, "Drache")},
                       {UpdateRig::title(7, "Neu", "de")});
    rig.serveContent(42, 3, content);
    ASSERT_TRUE(rig.run());

    const QList<QByteArray> medias = targets("GET");
    EXPECT_THAT(targets("POST"), ElementsAre("/log"));
    EXPECT_THAT(rig.server.requests("/log").first().header("Content-Type"), "application/json");
    EXPECT_THAT(targets("HEAD"), ElementsAre(UpdateRig::contentPath(42, 3)));
    QList<QByteArray> catalogue = medias;
    catalogue.removeIf([](const QByteArray &target) {
        return !target.startsWith("/medias") && !target.startsWith("/versions");
    });
    EXPECT_THAT(catalogue, ElementsAre("/versions", "/medias?mids=%221234%22,%2242%22,%220007%22",
                                       "/medias?mids=%220007%22"));
    EXPECT_EQ(medias.last(), UpdateRig::contentPath(42, 3));
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "");
    EXPECT_TRUE(rig.pen.exists(u"configure/tbd.txt"_s));
    EXPECT_TRUE(rig.pen.read(u"book/00007_de.txt"_s).startsWith("Name: Neu\n"));
}

TEST_F(UpdateRun, TracesItsStepsInTheLog)
{
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    QStringList steps = logEntries();
    steps.removeIf([](const QString &line) { return !line.startsWith(u"updateAll"_s); });
    const QStringList main = {u"updateAll Beginn"_s,
                              u"updateAll nach postLogFIleMidsToServer"_s,
                              u"updateAll nach versionService.perform"_s,
                              u"updateAll nach getTextFileContentFromPen"_s,
                              u"updateAll localMediaArray length: 1"_s,
                              u"updateAll nach localMediasArray forEach"_s,
                              u"updateAll nach loadData"_s,
                              u"updateAll Ende"_s};
    const QStringList planning = {u"updateAll in"_s, u"updateAll nach missing ..."_s,
                                  u"updateAll in DispatchQueue"_s, u"updateAll if"_s,
                                  u"updateAll nach triggerElementDownloads"_s};
    const auto only = [&steps](const QStringList &wanted) {
        QStringList result = steps;
        result.removeIf([&wanted](const QString &line) { return !wanted.contains(line); });
        return result;
    };
    EXPECT_EQ(only(main), main);
    EXPECT_EQ(only(planning), planning);
    EXPECT_EQ(steps.count(u"updateAll in 2"_s), 1);
}

TEST_F(UpdateRun, SaysWhatItDecidesOnTheDebugLog)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 5);
    rig.putTitle(u"00099_en"_s, 1);
    rig.serveCatalogue(R"({"00042":3,"00043":5})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat")});
    rig.serveContent(42, 3, content);
    CapturedOutput output;
    ASSERT_TRUE(rig.run());
    const QStringList lines = output.lines();
    EXPECT_THAT(lines,
                IsSupersetOf({u"\"Did not find a matching remote element for 99.\""_s,
                              u"\"Queued update element for local media 42 (REMOTE 3 > LOCAL 2), "
                              u"content length is 0\""_s,
                              u"\"No MIDs found in TBD file\""_s, u"\"now i got all responses\""_s,
                              u"\"VersionService reports that NO update is needed.\""_s,
                              u"\"firmware-file up to date\""_s, u"\"iso-file up to date\""_s}));
    EXPECT_TRUE(rig.pen.read(u"book/00043_en.txt"_s).startsWith("Name: Pirat\n"));
}

TEST_F(UpdateRun, WithoutPenAsksNobody)
{
    rig.pen.remove(u"configure/settings.ini"_s);
    CapturedOutput output;
    rig.service->updateAll();
    EXPECT_FALSE(rig.service->isRunning());
    EXPECT_THAT(output.lines(),
                testing::Contains(u"\"Quillo is not connected. Skipping updateAll()\""_s));
    EXPECT_EQ(logEntries().last(), u"updateAll return"_s);
    EXPECT_TRUE(rig.server.requests().isEmpty());
}

TEST_F(UpdateRun, FetchesContentCoverAndMetadataThatAreMissing)
{
    rig.putTitle(u"00042_en"_s, 3, false, false);
    rig.pen.write(u"book/00043_en.qnk"_s, "content");
    rig.pen.write(u"book/00043_en.png"_s, pngPicture());
    rig.serveCatalogue(R"({"00042":3,"00043":5})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat")});
    rig.serveContent(42, 3, content);
    rig.server.serve("/files/7/42/42_en.png", pngPicture(30, 40));
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(rig.pen.read(u"book/00042_en.png"_s), pngPicture(30, 40));
    EXPECT_TRUE(rig.pen.read(u"book/00043_en.txt"_s).contains("Book Version: 5\n"));
    EXPECT_EQ(rig.pen.read(u"book/00043_en.qnk"_s), "content");
}

TEST_F(UpdateRun, AnOutdatedTitleWithoutContentIsLoadedOnce)
{
    rig.putTitle(u"00042_en"_s, 2, false);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.serveContent(42, 3, content);
    ASSERT_TRUE(rig.run());
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready));
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
}

TEST_F(UpdateRun, LoadsNewSystemSoftwareAndRemovesStaleImages)
{
    rig.pen.write(u"configure/settings.ini"_s, "ImageVersion = 5 \nfirmwareVersion=12\n");
    rig.pen.write(u"configure/imageisoV3.iso"_s, "stale");
    rig.pen.write(u"configure/imageisoV6.iso"_s, "newer");
    rig.pen.write(u"configure/readme.iso"_s, "no digits");
    rig.putTitle(u"00042_en"_s, 3);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.server.serve("/imageversion", "7");
    rig.server.serve("/firmwareversion", "13");
    rig.server.serve("/software/imageisoV7.iso", content);
    rig.server.serve("/software/firmwareV13.bin", "firmware");
    CapturedOutput output;
    rig.service->updateAll();
    // The check may well be slower than the planning of the titles.
    ASSERT_TRUE(QTest::qWaitFor(
        [this] { return updateElements().size() == 2 && !queueHasOpenRows(); }, 20'000));
    EXPECT_THAT(output.lines(),
                IsSupersetOf({u"\"firmware-file remoteversion 13 > localversion 12 ?\""_s,
                              u"\"iso-file remoteversion 7 > localversion 5 ?\""_s,
                              u"\"VersionService reports that an update is needed.\""_s}));
    EXPECT_THAT(rig.pen.names(u"configure"_s),
                ElementsAre(u"firmwareV13.bin"_s, u"imageisoV6.iso"_s, u"imageisoV7.iso"_s,
                            u"readme.iso"_s, u"settings.ini"_s, u"tbd.txt"_s));
    EXPECT_EQ(rig.pen.read(u"configure/imageisoV7.iso"_s), content);
    EXPECT_THAT(states(), ElementsAre(DownloadType::Ready, DownloadType::Ready));
}

TEST_F(UpdateRun, SystemSoftwareKnownLateIsStillLoaded)
{
    auto gate = std::make_shared<FaultServer::Gate>();
    rig.putTitle(u"00042_en"_s, 3);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.server.serve("/firmwareversion", {.body = "2", .hold = gate});
    rig.server.serve("/software/firmwareV2.bin", "firmware");
    ASSERT_TRUE(rig.run());
    EXPECT_FALSE(rig.pen.exists(u"configure/firmwareV2.bin"_s));
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return rig.pen.read(u"configure/firmwareV2.bin"_s) == "firmware"; }, 10'000));
    EXPECT_TRUE(rig.waitForEnd());
}

TEST_F(UpdateRun, TheLogIsEmptiedOnlyByA200)
{
    serveOneOutdatedTitle();
    rig.pen.write(u"configure/log.txt"_s,
                  QByteArrayLiteral("a=b=c\nnothing\nMID=\nMID= 12 \nMID=3\0"
                                    "4\n"));
    rig.server.serve("/log", {.status = 500});
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(rig.pen.read(u"configure/log.txt"_s).startsWith("a=b=c"));

    rig.server.serve("/log", "");
    rig.service->updateAll();
    EXPECT_TRUE(QTest::qWaitFor([this] { return rig.pen.read(u"configure/log.txt"_s).isEmpty(); }));
    EXPECT_TRUE(rig.pen.exists(u"configure/log.txt"_s));
    QByteArray body = rig.server.requests("/log").last().body;
    EXPECT_EQ(body.simplified().replace(' ', ""), R"(["b","12","34"])");
    EXPECT_TRUE(body.contains('\n'));
}

TEST_F(UpdateRun, ADroppedTransferIsResumedAndKeepsTheMetadataInStep)
{
    serveOneOutdatedTitle();
    rig.server.serveInTurn(
        UpdateRig::contentPath(42, 3),
        {{.body = content},
         {.body = content, .fault = FaultServer::Fault::Close, .faultAt = 200'000},
         {.body = content}});
    CapturedOutput output;
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), newMetadata);
    EXPECT_TRUE(rig.server.requests().last().header("Range").startsWith("bytes="));
    EXPECT_THAT(
        output.lines(),
        testing::Contains(u"\"Failed to download QNK contents for element ID 00042_en\""_s));
}

TEST_F(UpdateRun, AContentThatFailsTwiceIsGivenUpAndTheNextOneLoaded)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 2);
    rig.serveCatalogue(R"({"00042":3,"00043":3})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat")});
    rig.serveContent(43, 3, content);
    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503, .body = "error page"});
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
    EXPECT_TRUE(rig.pen.read(u"book/00042_en.txt"_s).contains("Book Version: 2"));
    EXPECT_EQ(rig.pen.read(u"book/00043_en.qnk"_s), content);
    EXPECT_THAT(states(), testing::UnorderedElementsAre(DownloadType::Failed, DownloadType::Ready));
    EXPECT_EQ(window().headline, localized(u"label_some_failed"_s));
    EXPECT_TRUE(window().cancelEnabled);

    // The next run tries the address again.
    rig.serveContent(42, 3, content);
    rig.serveCatalogue(R"({"00042":3,"00043":3})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat")});
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(window().headline, localized(u"label_download_complete"_s));
}

TEST_F(UpdateRun, ARunAskedForDuringAnotherFollowsIt)
{
    serveOneOutdatedTitle();
    auto gate = std::make_shared<FaultServer::Gate>();
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

TEST_F(UpdateRun, PulledDuringADownloadNothingIsWrittenAndTheNextPlugInMakesItWhole)
{
    serveOneOutdatedTitle();
    auto gate = std::make_shared<FaultServer::Gate>();
    rig.server.serveInTurn(
        UpdateRig::contentPath(42, 3),
        {{.body = content},
         {.body = content, .fault = FaultServer::Fault::Stall, .faultAt = 100'000, .gate = gate},
         {.body = content}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.pen.pullOut();
    rig.service->penRemoved();
    clearLibraryLists();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_EQ(window().headline, localized(u"label_pen_removed"_s));
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
    EXPECT_TRUE(rig.pen.read(u"book/00042_en.txt"_s).contains("Book Version: 2"));

    rig.pen.plugIn();
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), newMetadata);
}

TEST_F(UpdateRun, PulledWhileTheServersAreAskedNothingIsWritten)
{
    serveOneOutdatedTitle();
    rig.pen.write(u"configure/tbd.txt"_s, "MID=7");
    auto gate = std::make_shared<FaultServer::Gate>();
    rig.server.serveInTurn("/medias", {{.body = "[]"}, {.body = "[]", .hold = gate}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.service->penRemoved();
    EXPECT_FALSE(rig.service->isRunning());
    // A pen that is there again belongs to the next run, not to the one that was cut off.
    gate->open();
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")},
                       {UpdateRig::title(7, "Neu")});
    rig.serveContent(7, 1, "seven");
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_TRUE(rig.pen.exists(u"book/00007_en.txt"_s));
}

TEST_F(UpdateRun, CancelStopsTheQueueForGood)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 2);
    rig.serveCatalogue(R"({"00042":3,"00043":3})",
                       {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat")});
    auto gate = std::make_shared<FaultServer::Gate>();
    for (const int mid : {42, 43})
        rig.server.serveInTurn(
            UpdateRig::contentPath(mid, 3),
            {{.body = content},
             {.body = content, .fault = FaultServer::Fault::Stall, .faultAt = 10, .gate = gate}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    const int shownBefore = rig.booksViewsShown;
    rig.service->downloadWindowController().cancelBtnKlicked();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.booksViewsShown > shownBefore; }));
    EXPECT_FALSE(rig.service->isRunning());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
    EXPECT_EQ(rig.pen.read(u"book/00043_en.qnk"_s), "old content");
    const QList<QByteArray> asked = targets("GET");
    EXPECT_EQ(std::count_if(asked.begin(), asked.end(),
                            [](const QByteArray &t) { return t.startsWith("/files/"); }),
              1);
}

TEST_F(UpdateRun, CancelWhileTheServersAreAskedEndsTheRun)
{
    serveOneOutdatedTitle();
    auto gate = std::make_shared<FaultServer::Gate>();
    rig.server.serve("/versions", {.body = R"({"00042":3})", .hold = gate});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.service->downloadWindowController().cancelBtnKlicked();
    EXPECT_FALSE(rig.service->isRunning());
    gate->open();
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
}

} // namespace
