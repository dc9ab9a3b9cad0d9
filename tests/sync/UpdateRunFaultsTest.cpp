// Update runs against broken input: each gives its line, ends, and leaves nothing broken on the
// pen.
#include "download/DownloadQueue.h"
#include "download/DownloadWindowController.h"
#include "library/LibraryLists.h"
#include "tests/support/Output.h"
#include "tests/support/UpdateRig.h"
#include "ui/Localization.h"

#include <QElapsedTimer>
#include <QTest>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

const QByteArray oldMetadata = "Name: Old\nPublisher: P\nAuthor: A\nBook Area Code: en\nISBN: 1\n"
                               "Type: Buch\nBook Version: 2\n";

struct AnswerRow
{
    const char *name;
    FaultServer::Reply versions;
    FaultServer::Reply medias;
    bool noAnswer; ///< the window says that the server did not answer
};

class BrokenAnswers : public testing::TestWithParam<AnswerRow>
{
protected:
    UpdateRig rig;
};

TEST_P(BrokenAnswers, EndTheRunAndLeaveTheTitleAlone)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.pen.write(u"configure/tbd.txt"_s, "MID=42\n");
    rig.server.serve("/versions", GetParam().versions);
    rig.server.serve("/medias", GetParam().medias);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), oldMetadata);
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
    EXPECT_TRUE(updateElements().isEmpty());
    const DownloadPresentation &window = rig.service->downloadWindowController().presentation();
    EXPECT_EQ(window.headline, localized(GetParam().noAnswer ? u"label_no_response_from_server"_s
                                                             : u"label_download_complete"_s));
    EXPECT_TRUE(window.okEnabled);
    EXPECT_FALSE(window.cancelEnabled);
    // The list was processed, whatever came of it.
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "");
}

const FaultServer::Reply good = {.body = R"({"00042":3})"};
const FaultServer::Reply media = {.body = "[" + UpdateRig::title(42, "Drache") + "]"};

INSTANTIATE_TEST_SUITE_P(
    Rows, BrokenAnswers,
    testing::Values(
        AnswerRow{"VersionsNoJson", {.body = "<html>"}, media, false},
        AnswerRow{"VersionsArray", {.body = "[1]"}, media, false},
        AnswerRow{"MediasTruncated", good, {.body = media.body.chopped(5)}, false},
        AnswerRow{"MediasObject", good, {.body = "{}"}, false},
        AnswerRow{
            "MediasWithAStranger", good, {.body = "[" + UpdateRig::title(42, "D") + ",7]"}, false},
        AnswerRow{"MediasNoUtf8", good, {.body = "[\"\xff\"]"}, true},
        AnswerRow{"MediasEmpty", good, {.body = ""}, false},
        AnswerRow{"MediasError", good, {.status = 500, .body = media.body}, true},
        AnswerRow{"MediasCut",
                  good,
                  {.body = media.body, .fault = FaultServer::Fault::Close, .faultAt = 20},
                  true},
        AnswerRow{"MediasTooMuch", good, {.body = QByteArray(1 << 20, ' '), .repeat = 65}, true},
        AnswerRow{"AreaCodeLeavesTheFolder",
                  good,
                  {.body = "[" + UpdateRig::title(42, "Drache", "../../x") + "]"},
                  false},
        AnswerRow{"MidIsText",
                  good,
                  {.body = R"([{"title":"x","mid":"42","bookAreaCode":"en"}])"},
                  false}),
    rowName<AnswerRow>);

class UpdateRunFaults : public testing::Test
{
protected:
    UpdateRig rig;
    const QByteArray content = QByteArray("0123456789").repeated(1000);
};

TEST_F(UpdateRunFaults, NoServerAtAll)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.configureWith("<plist version=\"1.0\"><dict><key>MEDIA_SERVER_VERSIONS_URL</key><string>"
                      "http://127.0.0.1:1/v</string><key>MEDIA_SERVER_MEDIAS_URL</key><string>"
                      "http://127.0.0.1:1/m</string></dict></plist>");
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.service->downloadWindowController().presentation().headline,
              localized(u"label_no_response_from_server"_s));
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), oldMetadata);
}

TEST_F(UpdateRunFaults, NoConfigurationAtAll)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.pen.write(u"configure/log.txt"_s, "MID=1\n");
    rig.configureWith("no property list");
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(rig.server.requests().isEmpty());
    EXPECT_EQ(rig.pen.read(u"configure/log.txt"_s), "MID=1\n");
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), oldMetadata);
}

TEST_F(UpdateRunFaults, ARowWhoseAddressIsMissingIsGivenUp)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.configure({u"STREAMING_SERVER_FILES_URL"_s});
    ASSERT_TRUE(rig.run());
    ASSERT_EQ(updateElements().size(), 1);
    EXPECT_EQ(updateElements().first().downloadType, DownloadType::Failed);
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
}

struct ContentRow
{
    const char *name;
    FaultServer::Reply reply;
};

class BrokenContent : public testing::TestWithParam<ContentRow>
{
protected:
    UpdateRig rig;
};

TEST_P(BrokenContent, NeverReplacesTheOld)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.server.serve(UpdateRig::contentPath(42, 3), GetParam().reply);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
    EXPECT_EQ(rig.pen.read(u"book/00042_en.txt"_s), oldMetadata);
    EXPECT_EQ(updateElements().first().downloadType, DownloadType::Failed);
    EXPECT_FALSE(rig.pen.names(u"book"_s).join(u' ').contains(u".quillo"_s));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, BrokenContent,
    testing::Values(
        ContentRow{"NotFound", {.status = 404, .body = "not here"}},
        ContentRow{"Cut",
                   {.body = "0123456789",
                    .ranges = FaultServer::Ranges::Ignored,
                    .fault = FaultServer::Fault::Close,
                    .faultAt = 5}},
        ContentRow{"AnnouncesMore",
                   {.body = "0123456789",
                    .announced = 20,
                    .fault = FaultServer::Fault::Close,
                    .faultAt = 10}},
        ContentRow{"RedirectLoop", FaultServer::Reply::redirect(UpdateRig::contentPath(42, 3))},
        ContentRow{"RedirectToAFile", FaultServer::Reply::redirect("file:///etc/hostname")},
        ContentRow{"Garbage", {.raw = "\x00\xff garbage\r\n\r\n"}}),
    rowName<ContentRow>);

TEST_F(UpdateRunFaults, ACoverThatIsNoPictureIsNotWritten)
{
    rig.putTitle(u"00042_en"_s, 3, true, false);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.server.serve("/files/7/42/42_en.png", "<html>Sorry</html>");
    CapturedOutput output;
    ASSERT_TRUE(rig.run());
    EXPECT_FALSE(rig.pen.exists(u"book/00042_en.png"_s));
    EXPECT_THAT(output.lines(), testing::Contains(u"No picture at "_s
                                                  + rig.server.address("/files/7/42/42_en.png")));
}

TEST_F(UpdateRunFaults, AVersionThatTriesToLeaveTheFolderIsGivenUp)
{
    rig.putTitle(u"00042_en"_s, 3);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.server.serveInTurn("/imageversion", {{.body = "2"}, {.body = "/../../book/00042_en.qnk"}});
    rig.server.serve("/software/imageisoV2.iso", content);
    rig.service->updateAll();
    ASSERT_TRUE(QTest::qWaitFor(
        [] {
            return updateElements().size() == 1
                   && updateElements().first().downloadType == DownloadType::Failed;
        },
        20'000));
    EXPECT_THAT(rig.pen.names(u"configure"_s), testing::IsSupersetOf({u"settings.ini"_s}));
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), "old content");
}

TEST_F(UpdateRunFaults, ATitleThatNamesAPathIsKnownByItsFile)
{
    rig.pen.write(u"book/00042_en.txt"_s, "Id: ../../evil_en\nName: X\nType: Buch\n");
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.serveContent(42, 3, content);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"book/00042_en.qnk"_s), content);
    EXPECT_EQ(updateElements().first().elementId, u"00042_en"_s);
}

TEST_F(UpdateRunFaults, WhatAnInterruptedPlacementLeftIsSwept)
{
    rig.putTitle(u"00042_en"_s, 3);
    rig.pen.write(u"book/.quillo-part-00042_en.qnk"_s, "half");
    rig.pen.write(u"book/.hidden"_s, "somebody else's");
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    ASSERT_TRUE(rig.run());
    EXPECT_FALSE(rig.pen.exists(u"book/.quillo-part-00042_en.qnk"_s));
    EXPECT_TRUE(rig.pen.exists(u"book/.hidden"_s));
}

TEST_F(UpdateRunFaults, AFileThatCannotBePlacedStopsTheQueueAndTheWindowSaysWhy)
{
    rig.putTitle(u"00042_en"_s, 2, false);
    // A folder of that name cannot be replaced by a file.
    rig.pen.write(u"book/00042_en.qnk/inside/deep"_s, "x");
    rig.pen.remove(u"book/00042_en.qnk/inside/deep"_s);
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")});
    rig.server.on(UpdateRig::contentPath(42, 3), [this](const FaultServer::Request &request) {
        if (request.method == "GET")
            rig.pen.pullOut(); // unnoticed, as by a medium that dies while mounted
        return FaultServer::Reply{.body = content};
    });
    ASSERT_TRUE(rig.run());
    const DownloadPresentation &window = rig.service->downloadWindowController().presentation();
    EXPECT_TRUE(window.headline.startsWith(localized(u"label_copy_failed"_s).section(u'%', 0, 0)));
    EXPECT_EQ(updateElements().first().downloadType, DownloadType::Copying);
    EXPECT_TRUE(window.cancelEnabled);
}

/// Milliseconds of a run over that many outdated titles, up to the first download.
qint64 planningTime(int titles)
{
    UpdateRig rig;
    QByteArray versions = "{";
    QList<QByteArray> medias;
    for (int mid = 10'000; mid < 10'000 + titles; ++mid) {
        rig.putTitle(QString::number(mid) + u"_en"_s, 2, true, true);
        versions += (mid > 10'000 ? ",\"" : "\"") + QByteArray::number(mid) + "\":2";
        medias += UpdateRig::title(mid, "Title");
    }
    rig.serveCatalogue(versions + '}', medias);
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(rig.run(60'000));
    return timer.elapsed();
}

TEST(UpdatePlanning, GrowsLinearlyWithTheTitles)
{
    const qint64 few = planningTime(200);
    const qint64 many = planningTime(2000);
    // Ten times the titles; quadratic work would show as a hundredfold.
    EXPECT_LT(many, 30 * std::max<qint64>(few, 20));
}

} // namespace
