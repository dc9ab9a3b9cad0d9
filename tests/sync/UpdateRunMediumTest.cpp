#include "tests/support/FuseMedium.h"
#include "tests/sync/UpdateRunFixture.h"

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

constexpr qint64 megabyte = 1'000'000;

/// Whole runs onto a pen that is small, or fails, with the rules of FAT.
class UpdateRunMedium : public UpdateRunTest
{
protected:
    void SetUp() override
    {
        if (!medium.isAvailable())
            GTEST_SKIP() << qPrintable(medium.reason());
    }

    static QByteArray bytes(char letter, qint64 size) { return QByteArray(size, letter); }

    void putContent(const QString &id, const QByteArray &old)
    {
        rig.putTitle(id, 2);
        rig.pen.write(u"book/"_s + id + u".qnk"_s, old);
    }

    void expectNothingHidden()
    {
        EXPECT_TRUE(QTest::qWaitFor(
            [this] { return rig.pen.names(u"book"_s).filter(u".quillo-part"_s).isEmpty(); }));
    }

    FuseMedium medium{rig.pen.root(), FuseMedium::Kind::FatWriteBack};
};

} // namespace

TEST_F(UpdateRunMedium, AFullPenKeepsWhatItHasAndIsToldSo)
{
    setCurrentLanguage(u"de"_s);
    medium.setCapacity(6 * megabyte);
    const QByteArray old = bytes('o', megabyte * 3 / 2);
    for (const QString &id : {u"00042_en"_s, u"00043_en"_s, u"00044_en"_s})
        putContent(id, old);
    const QList<QByteArray> titles = {UpdateRig::title(42, "Drache"), UpdateRig::title(43, "Pirat"),
                                      UpdateRig::title(44, "Fee")};
    rig.serveCatalogue(R"({"00042":3,"00043":3,"00044":3})", titles);
    const QByteArray fits = bytes('n', old.size()); // once the old one has gone
    const QByteArray tooMuch = bytes('N', 4 * megabyte);
    rig.serveContent(42, 3, fits);
    rig.serveContent(43, 3, tooMuch);
    rig.serveContent(44, 3, tooMuch);
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(onPen(u".qnk"_s), fits);
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), old);
    EXPECT_EQ(onPen(u".qnk"_s, u"00044_en"_s), old);
    EXPECT_THAT(
        window().headline.toStdString(),
        testing::ContainsRegex("voll: 8\u00a0MB werden gebraucht, 1,[3-5]\u00a0MB sind frei"));
    EXPECT_EQ(rig.server.requests(UpdateRig::contentPath(43, 3)).size(), 2) << "HEAD and one GET";
    expectNothingHidden();

    rig.pen.remove(u"book/00044_en.qnk"_s);
    rig.pen.remove(u"book/00044_en.txt"_s);
    serveCatalogueOfTwo();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(onPen(u".qnk"_s, u"00043_en"_s), tooMuch);
    expectHeadline(u"label_download_complete"_s);
}

TEST_F(UpdateRunMedium, WhatCouldNotBePlacedOnceTheOldHadGoneIsNotLoadedTwice)
{
    medium.setCapacity(4 * megabyte);
    putContent(u"00042_en"_s, bytes('o', 3 * megabyte));
    const QByteArray fresh = bytes('n', 3 * megabyte);
    serveCatalogueOfOne();
    rig.serveContent(42, 3, fresh);
    medium.failWritesAfter(megabyte, EIO);
    ASSERT_TRUE(rig.run());
    EXPECT_TRUE(window().headline.contains(localized(u"copy_failed_gone"_s)));
    EXPECT_TRUE(window().cancelEnabled && !window().okEnabled);
    EXPECT_EQ(rig.server.requests(UpdateRig::contentPath(42, 3)).size(), 2) << "HEAD and one GET";
    EXPECT_TRUE(onPen(u".qnk"_s).isNull());
    expectNothingHidden();
    rig.service->penRemoved();
    expectHeadline(u"label_pen_removed"_s);
    EXPECT_TRUE(window().okEnabled);
    medium.heal();
    rig.server.forgetRequests();
    serveCatalogueOfOne();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(onPen(u".qnk"_s), fresh);
    EXPECT_EQ(onPen(u".txt"_s).count("Book Version: 3"), 1);
    const auto requests = rig.server.requests(UpdateRig::contentPath(42, 3));
    ASSERT_EQ(requests.size(), 1);
    EXPECT_EQ(requests.first().method, "HEAD");
}

/// The old content has gone, and nobody may stop that any more.
TEST_F(UpdateRunMedium, WhatCouldNotBePlacedIsKeptThoughTheRunWasCancelled)
{
    medium.setCapacity(450'000);
    putContent(u"00042_en"_s, bytes('o', 300'000));
    serveCatalogueOfOne();
    rig.serveContent(42, 3, content);
    medium.setBytesPerSecond(500'000);
    medium.failFlushes(EIO);
    rig.service->updateAll();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !rig.pen.exists(u"book/00042_en.qnk"_s); }));
    rig.service->downloadWindowController().cancelBtnKlicked();
    rig.server.serve(UpdateRig::contentPath(42, 3), {.status = 503});
    serveCatalogueOfOne();
    rig.service->updateAll(); // retires what still places
    ASSERT_TRUE(QTest::qWaitFor([this] { return !rig.service->isRunning(); }));
    waitForRest();
    EXPECT_EQ(rig.pen.names(u"book"_s).filter(u".quillo-part"_s), QStringList());
    medium.heal();
    serveCatalogueOfOne();
    ASSERT_TRUE(rig.run());
    EXPECT_EQ(onPen(u".qnk"_s), content);
}

TEST_F(UpdateRunMedium, APenThatDiesAnywhereHoldsOldOrNewAndTheNextRunMakesItWhole)
{
    const QByteArray old = bytes('o', 100'000);
    const QByteArray fresh = bytes('n', 3 * megabyte);
    for (const qint64 last : {qint64(0), megabyte, 2 * megabyte + 1, fresh.size() + 10}) {
        SCOPED_TRACE(last);
        FuseMedium dying(rig.pen.root(), FuseMedium::Kind::Fat);
        putContent(u"00042_en"_s, old);
        serveCatalogueOfOne();
        rig.serveContent(42, 3, fresh);
        dying.dieAfter(last);
        ASSERT_TRUE(rig.run());
        EXPECT_TRUE(window().headline.contains(localized(u"copy_failed_gone"_s))
                    || last > fresh.size());
        dying.pull();
        EXPECT_TRUE(onPen(u".qnk"_s) == old || onPen(u".qnk"_s) == fresh);
        FuseMedium again(rig.pen.root(), FuseMedium::Kind::Fat);
        serveCatalogueOfOne();
        ASSERT_TRUE(rig.run());
        EXPECT_EQ(onPen(u".qnk"_s), fresh);
        expectNothingHidden();
    }
}

TEST_F(UpdateRunMedium, AFileTooLargeForItIsRefusedBeforeItIsLoadedAndOneThatTellsNoSizeTried)
{
    serveOneOutdatedTitle();
    rig.server.serve(UpdateRig::contentPath(42, 3), {.body = bytes('n', megabyte), .repeat = 4295});
    const qint64 before = medium.written();
    ASSERT_TRUE(rig.run());
    expectOldTitle();
    EXPECT_THAT(states(), ElementsAre(DownloadType::Failed));
    EXPECT_EQ(window().headline, localized(u"label_file_too_large"_s).arg(u"4,3\u00a0GB"_s));
    EXPECT_LT(medium.written() - before, megabyte);
    expectNothingHidden();
    medium.tellSpace(0, 0);
    serveOneOutdatedTitle();
    ASSERT_TRUE(rig.run());
    expectNewTitle();
}
