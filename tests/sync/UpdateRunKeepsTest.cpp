#include "tests/sync/UpdateRunFixture.h"

#include "download/QueueWindow.h"
#include "library/ElementService.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

/// What a run must not take from the pen, however it goes.
using UpdateRunKeeps = UpdateRunTest;

TEST_F(UpdateRunKeeps, TitlesAsTheyAreWhenTheVersionsAreUnknown)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"01234_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 2, false);
    rig.pen.write(u"book/00044_en.qnk"_s, "old content");
    for (const FaultServer::Reply &versions :
         {FaultServer::Reply{.status = 503, .body = "{}"}, FaultServer::Reply{}}) {
        SCOPED_TRACE(versions.status);
        rig.pen.write(u"configure/tbd.txt"_s, "MID=1234\nMID=43\n");
        const QList<QByteArray> requested{UpdateRig::title(1234, "Pirat"),
                                          UpdateRig::title(43, "Fee")};
        rig.serveCatalogue(
            {}, requested + QList{UpdateRig::title(42, "Drache"), UpdateRig::title(44, "Gast")},
            requested);
        rig.server.serve("/versions", versions);
        ASSERT_TRUE(rig.run());
        expectOldTitle();
        EXPECT_EQ(onPen(u".qnk"_s, u"01234_en"_s), "old content");
        for (const QString &id : {u"01234_en"_s, u"00043_en"_s})
            EXPECT_EQ(onPen(u".txt"_s, id), onPen(u".txt"_s));
        EXPECT_FALSE(rig.pen.exists(u"book/00044_en.txt"_s));
        EXPECT_TRUE(updateElements().isEmpty());
    }
}

TEST_F(UpdateRunKeeps, RequestsThatThePenCouldNotTakeAsTheyWereAskedFor)
{
    rig.pen.write(u"book/00042_en.txt/stands in the way"_s, "");
    rig.pen.write(u"book/12345_en.txt/stands in the way"_s, "");
    rig.pen.write(u"configure/tbd.txt"_s, "MID=0042 MID=43\nMID=43\nMID=12345\nMID=0042\n");
    const QList<QByteArray> titles{UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Fee"),
                                   UpdateRig::title(12345, "Gast")};
    rig.serveCatalogue(R"({"00042":3,"00043":3,"12345":1})", titles, titles);
    rig.serveContent(43, 3, content);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=0042\nMID=1234\n");
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), content);
}

TEST_F(UpdateRunKeeps, RequestedTitlesOfWhichOnlyTheContentIsThereInSight)
{
    rig.pen.write(u"book/00042_en.qnk"_s, "old content");
    rig.putTitle(u"00043_en"_s, 3);
    rig.pen.write(u"book/00043_en.txt"_s, "\xff");
    rig.pen.write(u"book/00098_en.qnk"_s, "unknown, and the newest: no missing text is restored");
    setTime(u"book/00098_en.qnk"_s, QDateTime::currentDateTime().addDays(1));
    rig.pen.write(u"configure/tbd.txt"_s, "MID=42\nMID=43\n");
    const QList<QByteArray> titles{UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Fee")};
    rig.serveCatalogue(R"({"00042":3,"00043":3})", titles, titles);
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(onPen(u".txt"_s).startsWith("Name: Drache\n"));
    EXPECT_TRUE(onPen(u".txt"_s, u"00043_en"_s).startsWith("Name: Fee\n"));
    EXPECT_EQ(onPen(u".qnk"_s) + onPen(u".qnk"_s, u"00043_en"_s), "old contentold content");
}

TEST_F(UpdateRunKeeps, ATitleThatTheVersionsLackAndTakesAZeroForAVersion)
{
    rig.putTitle(u"00042_en"_s, 2);
    rig.putTitle(u"00043_en"_s, 0, false);
    const QList<QByteArray> titles{UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Fee")};
    rig.serveCatalogue(R"({"00043":0})", titles);
    rig.serveContent(43, 0, content);
    ASSERT_TRUE(rig.run());
    expectOldTitle();
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), content);
    rig.pen.write(u"book/00042_en.txt"_s, "Name: Drache\nType: Buch\n"); // version 0
    rig.serveCatalogue(R"({"00043":0})", titles);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(onPen(u".qnk"_s), "old content");
}

TEST_F(UpdateRunKeeps, ThePensIdentifierAndLoadsTheTitleOnce)
{
    const QByteArray cover = "/files/7/42/42_en.png";
    rig.server.serve(cover, pngPicture(30, 40));
    const QList<QByteArray> titles{UpdateRig::title(42, "Drache")};
    for (const QString &id : {u"00042_de"_s, u"0042_en"_s}) {
        rig.putTitle(id, 2, true, false);
        rig.pen.write(u"book/"_s + id + u" copy.qnk"_s, "no title of its own");
        rig.pen.write(u"configure/tbd.txt"_s, "MID=42\n");
        rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503});
        qsizetype before = 0;
        for (int run = 0; run < 3; ++run) {
            rig.serveCatalogue(R"({"00042":3})", titles, titles);
            ASSERT_TRUE(rig.run());
            EXPECT_TRUE(
                QTest::qWaitFor([&] { return rig.pen.exists(u"book/"_s + id + u".png"_s); }));
            EXPECT_EQ(rig.pen.names(u"book"_s), QStringList({id + u" copy.qnk"_s, id + u".png"_s,
                                                             id + u".qnk"_s, id + u".txt"_s}));
            if (run > 0)
                continue;
            EXPECT_TRUE(onPen(u".txt"_s, id).startsWith("Name: Old\n")) << "as its content";
            before = rig.server.requests(UpdateRig::contentPath(42, 3)).size();
            rig.serveContent(42, 3, content);
        }
        EXPECT_EQ(onPen(u".qnk"_s, id), content);
        EXPECT_TRUE(onPen(u".txt"_s, id).startsWith("Name: Drache\n"));
        const auto requests = rig.server.requests(UpdateRig::contentPath(42, 3)).mid(before);
        EXPECT_EQ(requests.size(), 2) << "sized and loaded";
        for (const QString &name : rig.pen.names(u"book"_s))
            rig.pen.remove(u"book/"_s + name);
    }
    EXPECT_EQ(rig.server.requests(cover).size(), 2) << "each once";
}

TEST_F(UpdateRunKeeps, TitlesDeletedThatWereDeletedWhileTheirRowsWait)
{
    serveTwoOutdatedTitles();
    rig.server.serveInTurn(
        UpdateRig::contentPath(42, 3),
        {{.body = content}, {.body = content, .fault = Fault::Stall, .faultAt = 10, .gate = gate}});
    const auto remove = [this](const QString &id) {
        ElementService::deleteElement(id);
        QueueWindow::postTitlesDeleted({id});
    };
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    remove(u"00043_en"_s);
    QueueWindow::postTitlesDeleted({u"00042_en"_s}); // is under way
    EXPECT_EQ(totalBytesToDownload(), content.size());
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    expectNewTitle();
    EXPECT_THAT(states(),
                testing::UnorderedElementsAre(DownloadType::Ready, DownloadType::Canceled));
    EXPECT_EQ(rig.pen.names(u"book"_s).filter(u"00043"_s), QStringList());

    // As long as they are only planned, too.
    const auto version = std::make_shared<Gate>();
    rig.putTitle(u"00043_en"_s, 2);
    serveCatalogueOfTwo();
    rig.server.serve("/firmwareversion", {.body = "1", .hold = version});
    rig.service->updateAll();
    ASSERT_TRUE(rig.server.waitForRequests("/medias", 4));
    remove(u"00043_en"_s);
    version->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_THAT(states(), testing::ElementsAre(DownloadType::Ready)) << "of the run before";
    EXPECT_EQ(rig.pen.names(u"book"_s).filter(u"00043"_s), QStringList());

    // Before it is planned that nothing is to be loaded of them, too; what has come again is.
    for (const int local : {3, 2}) {
        const auto versions = std::make_shared<Gate>();
        rig.putTitle(u"00042_en"_s, local);
        rig.putTitle(u"00043_en"_s, 2);
        serveCatalogueOfTwo();
        rig.server.serve("/versions", {.body = R"({"00042":3,"00043":3})", .hold = versions});
        rig.service->updateAll();
        ASSERT_TRUE(versions->waitUntilReached());
        remove(u"00042_en"_s);
        versions->open();
        ASSERT_TRUE(rig.waitForEnd());
        EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), content);
        EXPECT_EQ(rig.pen.names(u"book"_s).filter(u"00042"_s), QStringList());
    }
}

TEST_F(UpdateRunKeeps, WhatThePenAddedToALogThatHasBeenSentAndTheLogOfAnotherPen)
{
    rig.pen.write(u"configure/log.txt"_s, "MID=1\n");
    const auto later = std::make_shared<Gate>();
    rig.server.serveInTurn("/log", {{.hold = gate}, {.hold = later}, {.status = 500}});
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    rig.pen.write(u"configure/log.txt"_s, "MID=1\nMID=2\n");
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    ASSERT_TRUE(rig.run());
    ASSERT_TRUE(later->waitUntilReached());
    rig.service->penRemoved(); // and comes again with the same log
    later->open();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(rig.pen.read(u"configure/log.txt"_s), "MID=1\nMID=2\n");
}

TEST_F(UpdateRunKeeps, ItsTimeFromACancelledRunAndAServerThatTellsNoSizes)
{
    QList<QByteArray> titles;
    for (int mid = 100; mid < 160; ++mid) {
        rig.putTitle(u"00%1_en"_s.arg(mid), 3, false);
        titles += UpdateRig::title(mid, "Titel");
    }
    const auto asked = [this] {
        const QList<FaultServer::Request> requests = rig.server.requests();
        return std::count_if(requests.begin(), requests.end(), [](const auto &request) {
            return request.method == "HEAD" && request.target.endsWith(".qnk");
        });
    };
    // Of the first fifty one is not answered when the run is cancelled.
    for (int mid = 100; mid < 160; ++mid)
        rig.server.serve(UpdateRig::contentPath(mid, 1),
                         {.body = "x", .hold = mid == 130 ? gate : nullptr});
    rig.serveCatalogue("{}", titles);
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    ASSERT_TRUE(QTest::qWaitFor([] { return totalBytesToDownload() == 49; }));
    controller().cancelBtnKlicked();
    EXPECT_FALSE(rig.service->isRunning());
    ASSERT_TRUE(QTest::qWaitFor([this, before = rig.loads] { return rig.loads > before; }));
    waitForRest();
    gate->open();
    rig.serveCatalogue("{}", {});
    ASSERT_TRUE(rig.run()); // of no title
    EXPECT_EQ(asked(), 50);
    EXPECT_TRUE(updateElements().isEmpty());

    for (int mid = 100; mid < 160; ++mid)
        rig.server.serve(UpdateRig::contentPath(mid, 1), {.status = 404});
    rig.serveCatalogue("{}", titles);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(asked(), 100);
    EXPECT_EQ(states(), QList<DownloadType>(60, DownloadType::Failed));
}

} // namespace

TEST_F(UpdateRunKeeps, TitlesOfOneMidAreNotTakenForEachOther)
{
    const auto contentOf = [this](const QByteArray &mid, const QByteArray &area) {
        const QByteArray path = "/files/7/" + mid + "/3/" + mid.rightJustified(5, '0') + '_' + area;
        rig.server.serve(path + ".qnk", content + area);
    };
    rig.putTitle(u"12345_en"_s, 2);
    rig.putTitle(u"12345_de"_s, 2);
    rig.putTitle(u"00042_en"_s, 3);
    rig.putTitle(u"00042_de"_s, 2); // of which the server says nothing
    rig.putTitle(u"00043_de"_s, 3);
    rig.pen.write(u"book/00044_en.qnk"_s, "without metadata");
    rig.pen.write(u"book/00042_x.png"_s, "a stray file");
    setTime(u"book/00042_x.png"_s, QDateTime::currentDateTime().addDays(1)); // read first
    rig.pen.write(u"configure/tbd.txt"_s, "MID=43\n");
    const QByteArray pirat = UpdateRig::title(43, "Pirat", "de");
    rig.serveCatalogue(R"({"12345":3,"00042":3,"00043":3,"00044":3})",
                       {UpdateRig::title(12345, "English"), UpdateRig::title(44, "Fee"),
                        UpdateRig::title(12345, "Deutsch", "de"), UpdateRig::title(42, "Drache"),
                        pirat},
                       {UpdateRig::title(43, "Pirate"), pirat});
    for (const QByteArray area : {"en", "de"})
        contentOf("12345", area);
    contentOf("42", "en");
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(onPen(u".txt"_s, u"12345_en"_s).startsWith("Name: English\n"));
    EXPECT_TRUE(onPen(u".txt"_s, u"12345_de"_s).startsWith("Name: Deutsch\n"));
    EXPECT_EQ(onPen(u".qnk"_s, u"12345_de"_s), content + "de");
    EXPECT_EQ(onPen(u".qnk"_s, u"00042_de"_s), "old content");
    EXPECT_TRUE(onPen(u".txt"_s, u"00042_de"_s).startsWith("Name: Old\n"));
    EXPECT_TRUE(onPen(u".txt"_s, u"00043_en"_s).startsWith("Name: Pirate\n"));
    EXPECT_TRUE(onPen(u".txt"_s, u"00044_en"_s).startsWith("Name: Fee\n"));
}

TEST_F(UpdateRunKeeps, SoftwareThatIsKnownLateIsLoadedAfterOk)
{
    serveOneOutdatedTitle();
    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503});
    rig.server.serveInTurn("/medias",
                           {{.body = "[" + UpdateRig::title(42, "Drache") + "]"}, {.status = 503}});
    rig.server.serve("/firmwareversion", {.body = "2", .hold = gate});
    rig.server.serve("/software/firmwareV2.bin", "firmware");
    rig.service->softwarePatience = std::chrono::milliseconds(1);
    ASSERT_TRUE(rig.run());
    expectHeadline(u"label_no_response_from_server"_s);
    rig.pen.write(u".Spotlight/x"_s, "x");
    controller().okBtnKlicked();
    EXPECT_FALSE(rig.pen.exists(u".Spotlight"_s));
    EXPECT_EQ(windowShown.size(), 1);
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor(
        [this] { return rig.pen.read(u"configure/firmwareV2.bin"_s) == "firmware"; }));
    EXPECT_TRUE(QTest::qWaitFor([this] { return !rig.service->isRunning(); }));
    EXPECT_EQ(windowShown.size(), 2);
}

TEST_F(UpdateRunKeeps, NothingBeginsOnAPenThatIsBeingEjected)
{
    const auto image = std::make_shared<Gate>();
    rig.server.serve("/firmwareversion", {.body = "2", .hold = gate});
    rig.server.serve("/imageversion", {.body = "2", .hold = image});
    rig.server.serve("/software/imageisoV2.iso", "image");
    rig.service->softwarePatience = std::chrono::milliseconds(1);
    ASSERT_TRUE(rig.run());
    image->open();
    ASSERT_TRUE(QTest::qWaitFor([] { return updateElements().size() == 1; }));
    bool isReleased = false;
    rig.service->releasePen([&] { isReleased = true; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return isReleased; }));
    const qsizetype asked = rig.server.requests().size();
    rig.service->updateAll();
    EXPECT_FALSE(rig.service->isRunning());
    QSignalSpy softwareChecked(&controller(), &DownloadWindowController::queueChanged);
    gate->open();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !softwareChecked.isEmpty(); }));
    EXPECT_FALSE(rig.service->isRunning());
    EXPECT_EQ(rig.server.requests().size(), asked);
    rig.service->keepPen();
    EXPECT_TRUE(rig.run());

    // Nor does what was asked for before, when the pen stays after all.
    rig.service->updateAll();
    rig.service->updateAll();
    rig.service->releasePen([] {});
    rig.service->keepPen();
    QCoreApplication::sendPostedEvents();
    EXPECT_FALSE(rig.service->isRunning());
}

TEST_F(UpdateRunKeeps, ARequestUntilItsTitleIsDroppedOrDeleted)
{
    const QList<QByteArray> asked{UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Fee")};
    rig.putTitle(u"00041_en"_s, 2);
    rig.putTitle(u"00042_en"_s, 3);
    rig.putTitle(u"00043_en"_s, 3);
    rig.putTitle(u"00045_en"_s, 3, false); // goes when it is dropped
    rig.serveCatalogue(R"({"00041":3,"00042":3,"00043":3,"00045":3})",
                       asked + QList{UpdateRig::title(41, "Riese"), UpdateRig::title(45, "Leer")},
                       asked);
    rig.server.serve(UpdateRig::contentPath(41, 3),
                     {.body = content, .fault = Fault::Stall, .faultAt = 1000, .gate = gate});
    rig.pen.write(u"configure/tbd.txt"_s, "MID=42\nMID=43\nMID=44\n");
    rig.service->updateAll();
    ASSERT_TRUE(gate->waitUntilReached());
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=42\nMID=43\n");
    drop(u"42"_s);
    drop(u"45"_s);
    EXPECT_TRUE(rig.pen.names(u"book"_s).filter(u"00045"_s).isEmpty());
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=43\n");
    QueueWindow::postTitlesDeleted({u"00043_en"_s});
    EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "");
    gate->open();
    ASSERT_TRUE(rig.waitForEnd());
    EXPECT_EQ(onPen(u".qnk"_s), "old content");
}

TEST_F(UpdateRunKeeps, ItsWordWhenItIsCancelledWhileItWaitsOrAfterItsEnd)
{
    serveOneOutdatedTitle();
    rig.server.serve("/firmwareversion", {.body = "0", .hold = gate});
    rig.service->softwarePatience = std::chrono::milliseconds(100);
    rig.service->updateAll();
    ASSERT_TRUE(
        QTest::qWaitFor([this] { return controller().phase() == RunPhase::AwaitingSoftware; }));
    controller().cancelBtnKlicked();
    QTimer patience;
    patience.start(200);
    ASSERT_TRUE(QSignalSpy(&patience, &QTimer::timeout).wait());
    EXPECT_EQ(controller().phase(), RunPhase::Stopped);
    EXPECT_EQ(windowShown.size(), 0);
    gate->open();

    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503});
    QSignalSpy ended(rig.service.get(), &UpdateService::runEnded);
    ASSERT_TRUE(rig.run());
    QSignalSpy stopped(&controller(), &DownloadWindowController::stopped);
    controller().cancelBtnKlicked();
    EXPECT_EQ(controller().phase(), RunPhase::Stopped);
    EXPECT_EQ(stopped.size(), 1);
    EXPECT_EQ(ended.size(), 1);
}
