// Update runs against broken input: each gives its line, ends, and leaves nothing broken on the
// pen.
#include "library/ElementService.h"
#include "tests/support/Rows.h"
#include "tests/sync/UpdateRunFixture.h"

using namespace Qt::StringLiterals;
using Reply = FaultServer::Reply;

namespace {

using UpdateRunFaults = UpdateRunTest;

TEST_F(UpdateRunFaults, BrokenAnswersEndTheRunAndLeaveTheTitleAlone)
{
    struct Row
    {
        const char *name;
        Reply versions;
        Reply medias;
        bool noAnswer = false; ///< the window says that the server did not answer
    };
    const Reply good{.body = R"({"00042":3})"};
    const Reply media{.body = "[" + UpdateRig::title(42, "Drache") + "]"};
    rig.putTitle(u"00042_en"_s, 2);
    forEachRow<Row>(
        {{"VersionsNoJson", {.body = "<html>"}, media},
         {"MediasObject", good, {.body = "{}"}},
         {"MediasNoUtf8", good, {.body = "[\"\xff\"]"}, true},
         {"MediasError", good, {.status = 500, .body = media.body}, true},
         {"MediasTooMuch", good, {.body = QByteArray(1 << 20, ' '), .repeat = 65}, true},
         {"AreaCodeGoesUp", good, {.body = "[" + UpdateRig::title(42, "D", "../../x") + "]"}}},
        [this](const Row &row) {
            rig.pen.write(u"configure/tbd.txt"_s, "MID=42\n");
            rig.server.serve("/versions", row.versions);
            rig.server.serve("/medias", row.medias);
            ASSERT_TRUE(rig.run());
            expectOldTitle();
            EXPECT_TRUE(updateElements().isEmpty());
            expectHeadline(row.noAnswer ? u"label_no_response_from_server"_s
                                        : u"label_download_complete"_s);
            EXPECT_TRUE(window().okEnabled && !window().cancelEnabled);
            // The list was processed, whatever came of it.
            EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "");
        });
}

TEST_F(UpdateRunFaults, WithoutConfigurationNothingIsAskedForAndARowWithoutAddressIsGivenUp)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.pen.write(u"configure/log.txt"_s, "MID=1\n");
    rig.configureWith("no property list");
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(windowShown.isEmpty());
    EXPECT_TRUE(rig.server.requests().isEmpty());
    EXPECT_EQ(rig.pen.read(u"configure/log.txt"_s), "MID=1\n");
    for (const QString &address : {QString(), u"http://[no address/"_s, u"7: none"_s}) {
        serveCatalogueOfOne();
        rig.configure(u"STREAMING_SERVER_FILES_URL"_s, address);
        ASSERT_TRUE(rig.run());
        EXPECT_THAT(states(), testing::ElementsAre(DownloadType::Failed));
        expectOldTitle();
    }
}

TEST_F(UpdateRunFaults, BrokenContentNeverReplacesTheOld)
{
    const Reply cut{.body = "0123456789",
                    .ranges = FaultServer::Ranges::Ignored,
                    .fault = Fault::Close,
                    .faultAt = 5};
    const Reply garbage{.raw = "\x00\xff garbage\r\n\r\n"};
    rig.putTitle(u"00042_en"_s, 2);
    for (const Reply &reply : {cut, Reply::redirect("file:///etc/hostname"), garbage}) {
        SCOPED_TRACE(reply.status);
        serveCatalogueOfOne();
        rig.server.serve(UpdateRig::contentPath(42, 3), reply);
        ASSERT_TRUE(rig.run());
        expectOldTitle();
        EXPECT_THAT(states(), testing::ElementsAre(DownloadType::Failed));
        EXPECT_EQ(totalBytesToDownload(), 0);
        EXPECT_EQ(totalBytesDownloaded(), 0);
        EXPECT_TRUE(QTest::qWaitFor([this] { return rig.pen.names(u"book"_s).size() == 3; }));
    }
}

/// Covers of ten titles that are up to date, beside an outdated one.
class UpdateRunCovers : public UpdateRunTest
{
protected:
    UpdateRunCovers()
    {
        for (int mid = 110; mid < 120; ++mid)
            rig.putTitle(u"00%1_en"_s.arg(mid), 3, true, false);
        serve();
    }

    void serve()
    {
        serveOneOutdatedTitle();
        QList<QByteArray> titles{UpdateRig::title(42, "Drache")};
        QByteArray versions = R"({"00042":3)";
        for (int mid = 110; mid < 120; ++mid) {
            titles += UpdateRig::title(mid, "Titel");
            versions += ",\"00" + QByteArray::number(mid) + "\":3";
        }
        rig.serveCatalogue(versions + '}', titles);
    }
    void serveCovers(const Reply &reply)
    {
        for (int mid = 110; mid < 120; ++mid) {
            const QByteArray number = QByteArray::number(mid);
            rig.server.serve("/files/7/" + number + '/' + number + "_en.png", reply);
        }
    }
    [[nodiscard]] QByteArrayList asked()
    {
        QByteArrayList paths;
        for (const FaultServer::Request &request : rig.server.requests()) {
            if (request.target.endsWith(".png"))
                paths += request.target;
        }
        return paths;
    }
    [[nodiscard]] qsizetype covers()
    {
        return rig.pen.names(u"book"_s).filter(u".png"_s).size() - 1;
    }
};

TEST_F(UpdateRunCovers, ComeAFewAtATimeAndHoldNoTitleUp)
{
    serveCovers({.body = pngPicture(30, 40), .hold = gate});
    ASSERT_TRUE(rig.run());
    expectNewTitle();
    EXPECT_TRUE(QTest::qWaitFor([this] { return asked().size() == 4; }));
    EXPECT_EQ(covers(), 0);
    const QString deleted = u"00%1_en"_s.arg(QString::fromLatin1(asked().first().mid(9, 3)));
    ElementService::deleteElement(deleted);
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor([this] { return covers() == 9; }));
    EXPECT_EQ(asked().size(), 10);
    EXPECT_FALSE(rig.pen.exists(u"book/"_s + deleted + u".png"_s));
}

TEST_F(UpdateRunCovers, AreGivenUpAfterTheFirstWithoutAnswer)
{
    serveCovers(Reply::closeBeforeHeader());
    for (int run = 0; run < 2; ++run) {
        ASSERT_TRUE(rig.run());
        serve();
    }
    // Both runs begin with the same ones.
    EXPECT_TRUE(QTest::qWaitFor([this] { return asked().size() >= 8; }));
    const QByteArrayList paths = asked();
    EXPECT_EQ(QSet<QByteArray>(paths.begin(), paths.end()).size(), 4)
        << paths.join(' ').constData();
}

TEST_F(UpdateRunCovers, ThatAreNoPictureAreNotWritten)
{
    serveCovers({.body = "<html>Sorry</html>"});
    const QByteArray picture = pngPicture(30, 40);
    rig.server.serve("/files/7/110/110_en.png", picture);
    rig.server.serve("/files/7/111/111_en.png",
                     Reply{.body = picture, .length = FaultServer::Length::Absent});
    rig.server.serve("/files/7/112/112_en.png",
                     Reply{.body = picture, .fault = Fault::Close, .faultAt = 60});
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(QTest::qWaitFor([this] { return covers() > 0 && asked().size() == 10; }));
    EXPECT_TRUE(onPen(u".png"_s, u"00110_en"_s).startsWith("\x89PNG"));
    EXPECT_EQ(covers(), 1);
}

TEST_F(UpdateRunCovers, OnTheirWayAreNotWrittenOnceThePenHasGone)
{
    serveCovers({.body = pngPicture(30, 40), .hold = gate});
    ASSERT_TRUE(rig.run());
    ASSERT_TRUE(QTest::qWaitFor([this] { return asked().size() == 4; }));
    rig.service->penRemoved();
    gate->open();
    serve();
    serveCovers({.status = 404});
    ASSERT_TRUE(rig.run()); // another pen
    EXPECT_TRUE(QTest::qWaitFor([this] { return asked().size() == 14; }));
    EXPECT_EQ(covers(), 0);
}

TEST_F(UpdateRunFaults, SoftwareThatLeavesTheFolderOrIsMissingIsGivenUp)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.serveCatalogue("{}", {});
    rig.server.serveInTurn("/imageversion", {{.body = "2"}, {.body = "/../../book/00042_en.qnk"}});
    rig.server.serve("/software/imageisoV2.iso", content);
    rig.server.serve("/firmwareversion", "2");
    rig.server.serveInTurn("/software/firmwareV2.bin", {{.body = content}, {.status = 404}});
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(states(), QList<DownloadType>(2, DownloadType::Failed));
    EXPECT_FALSE(rig.pen.names(u"configure"_s).join(u' ').contains(u"iso"_s));
    expectOldTitle();
}

} // namespace
