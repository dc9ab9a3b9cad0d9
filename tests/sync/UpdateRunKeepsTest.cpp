#include "tests/sync/UpdateRunFixture.h"

using namespace Qt::StringLiterals;

namespace {

/// What a run must not take from the pen, however it goes.
class UpdateRunKeeps : public UpdateRun
{
protected:
    void expectLog(const QByteArray &text)
    {
        EXPECT_EQ(rig.pen.read(u"configure/log.txt"_s), text);
    }
};

TEST_F(UpdateRunKeeps, TitlesAsTheyAreWhenTheVersionsAreUnknown)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"01234_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 2, false);
    rig.pen.write(u"book/00044_en.qnk"_s, "old content");
    rig.pen.write(u"configure/tbd.txt"_s, "MID=1234\n");
    for (const FaultServer::Reply &versions :
         {FaultServer::Reply{.status = 503, .body = "{}"}, FaultServer::Reply{}}) {
        SCOPED_TRACE(versions.status);
        const QByteArray requested = UpdateRig::title(1234, "Pirat");
        rig.serveCatalogue({},
                           {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Fee"),
                            UpdateRig::title(44, "Gast"), requested},
                           {requested});
        rig.server.serve("/versions", versions);
        CapturedOutput output;
        ASSERT_TRUE(rig.run());
        EXPECT_EQ(output.lines().count(u"HTTP 503 for "_s + rig.server.address("/versions")),
                  versions.status == 503);
        expectOldTitle();
        EXPECT_EQ(onPen(u".qnk"_s, u"01234_en"_s), "old content");
        EXPECT_EQ(onPen(u".txt"_s, u"01234_en"_s), onPen(u".txt"_s));
        EXPECT_FALSE(rig.pen.exists(u"book/00044_en.txt"_s));
        EXPECT_TRUE(updateElements().isEmpty());
    }
}

TEST_F(UpdateRunKeeps, MetadataOfARequestedTitleUntilItsContentHasCome)
{
    serveOneOutdatedTitle();
    rig.serveCatalogue(R"({"00042":3})", {UpdateRig::title(42, "Drache")},
                       {UpdateRig::title(42, "Drache")});
    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503});
    rig.pen.write(u"configure/tbd.txt"_s, "MID=42\n");
    ASSERT_TRUE(rig.run());
    expectOldTitle();
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
}

TEST_F(UpdateRunKeeps, RequestsThatThePenCouldNotTake)
{
    rig.pen.write(u"book/00042_en.txt/stands in the way"_s, "");
    rig.pen.write(u"configure/tbd.txt"_s, "MID=42 MID=43\nMID=43\n");
    const QList<QByteArray> titles{UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Fee")};
    rig.serveCatalogue(R"({"00042":3,"00043":3})", titles, titles);
    rig.serveContent(43, 3, content);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=42\n");
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), content);
}

TEST_F(UpdateRunKeeps, ItsTimeFromAServerThatTellsNoSizes)
{
    QList<QByteArray> titles;
    for (int mid = 100; mid < 160; ++mid) {
        rig.putTitle(u"00%1_en"_s.arg(mid), 3, false);
        titles += UpdateRig::title(mid, "Titel");
    }
    rig.serveCatalogue("{}", titles);
    ASSERT_TRUE(rig.run());
    int asked = 0;
    for (const FaultServer::Request &request : rig.server.requests())
        asked += request.method == "HEAD" && request.target.endsWith(".qnk") ? 1 : 0;
    EXPECT_EQ(asked, 50);
    EXPECT_EQ(states(), QList<DownloadType>(60, DownloadType::Failed));
}

TEST_F(UpdateRunKeeps, TheLogOfAPenThatCameAfterTheAnsweredOne)
{
    rig.pen.write(u"configure/log.txt"_s, "MID=1\n");
    rig.server.serveInTurn("/log", {{.hold = gate}, {.status = 500}});
    ASSERT_TRUE(rig.run());
    ASSERT_TRUE(rig.run());
    rig.pen.pullOut();
    rig.service->penRemoved();
    rig.pen.write(u"configure/log.txt"_s, "MID=99\n");
    rig.pen.plugIn();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !rig.volumes.volumes().isEmpty(); }));
    gate->open();
    ASSERT_TRUE(rig.run());
    expectLog("MID=99\n");
}

TEST_F(UpdateRunKeeps, NothingOfALogThatHasBeenSentWhenTheRunIsCancelled)
{
    rig.pen.write(u"configure/log.txt"_s, "MID=1\n");
    rig.server.serve("/log", {.hold = gate});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.service->downloadWindowController().cancelBtnKlicked();
    EXPECT_FALSE(rig.service->isRunning());
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor([this] { return rig.pen.read(u"configure/log.txt"_s).isEmpty(); }));
}

TEST_F(UpdateRunKeeps, TheLastWordForThePulledPenAfterAFailedCopy)
{
    serveOneOutdatedTitle();
    rig.server.serve(UpdateRig::contentPath(42, 3),
                     {.body = content, .fault = Fault::Stall, .faultAt = 500, .gate = gate});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.pen.remove(u"book"_s);
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_FALSE(window().okEnabled);
    rig.service->penRemoved();
    expectHeadline(u"label_pen_removed"_s);
    EXPECT_TRUE(window().okEnabled);
}

} // namespace
