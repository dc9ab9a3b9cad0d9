#include "library/CoverCache.h"

#include "platform/Dispatch.h"

#include <QImage>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <tuple>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize tile(60, 80);

class CoverCacheTest : public testing::Test
{
protected:
    ~CoverCacheTest() override
    {
        gate.release(100);
        Dispatch::waitForGlobalWork();
    }

    CoverImage cover(const QString &name, QColor color, QSize size = {600, 800})
    {
        QImage image(size, QImage::Format_RGB32);
        image.fill(color);
        const QString path = folder.filePath(name);
        EXPECT_TRUE(image.save(path, "PNG"));
        return {path, size, QFile(path).size(), 1};
    }

    QPixmap wait(const CoverImage &image, qreal ratio = 1)
    {
        QPixmap shown = cache.pixmap(image, tile, ratio);
        EXPECT_TRUE(QTest::qWaitFor([&] { return ready.count() > 0; }, 10'000));
        ready.clear();
        return cache.pixmap(image, tile, ratio);
    }

    /// Keeps the whole pool busy; each release of the gate sets one thread free.
    void closePool()
    {
        const int threads = QThread::idealThreadCount();
        QSemaphore running;
        for (int i = 0; i < threads; ++i) {
            Dispatch::global([this, &running] {
                running.release();
                gate.acquire();
            });
        }
        running.acquire(threads);
    }

    [[nodiscard]] static QColor middle(const QPixmap &pixmap)
    {
        return pixmap.toImage().pixelColor(pixmap.width() / 2, pixmap.height() / 2);
    }

    QTemporaryDir folder;
    QSemaphore gate;
    CoverCache cache;
    QSignalSpy ready{&cache, &CoverCache::ready};
};

TEST_F(CoverCacheTest, ShowsTheDummyUntilTheCoverIsReady)
{
    const CoverImage red = cover(u"red.png"_s, Qt::red);
    const QPixmap first = cache.pixmap(red, tile, 1);
    EXPECT_EQ(first.toImage(), cache.pixmap(dummyCover(), tile, 1).toImage());
    EXPECT_FALSE(first.isNull());
    ASSERT_TRUE(ready.wait());
    EXPECT_EQ(ready.constFirst().constFirst(), red.path);
    EXPECT_EQ(middle(cache.pixmap(red, tile, 1)), QColor(Qt::red));
    EXPECT_TRUE(ready.count() == 1 && !ready.wait(1)) << "the dummy itself is never told of";
}

TEST_F(CoverCacheTest, CoversFitIntoTheTargetInDevicePixels)
{
    using Row = std::tuple<QString, QSize, qreal, QSize>;
    for (const auto &[name, picture, ratio, pixels] :
         {Row{u"same"_s, {600, 800}, 1, {60, 80}}, Row{u"double"_s, {600, 800}, 2, {120, 160}},
          Row{u"wide"_s, {800, 400}, 1, {60, 30}}, Row{u"small"_s, {6, 8}, 1, {60, 80}}}) {
        const QPixmap shown = wait(cover(name, Qt::blue, picture), ratio);
        EXPECT_EQ(shown.size(), pixels) << qPrintable(name);
        EXPECT_EQ(shown.devicePixelRatio(), ratio) << qPrintable(name);
    }
}

TEST_F(CoverCacheTest, DecodesTheNewestRequestFirst)
{
    const CoverImage a = cover(u"a.png"_s, Qt::red);
    const CoverImage b = cover(u"b.png"_s, Qt::green);
    const CoverImage c = cover(u"c.png"_s, Qt::blue);
    (void)cache.pixmap(dummyCover(), tile, 1);
    closePool();
    for (const CoverImage &image : {a, b, c, a}) // the last asks for the first again
        (void)cache.pixmap(image, tile, 1);
    gate.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return ready.count() == 3; }));
    QStringList told;
    for (const QList<QVariant> &signal : std::as_const(ready))
        told += signal.constFirst().toString();
    EXPECT_EQ(told, (QStringList{a.path, c.path, b.path}));
}

TEST_F(CoverCacheTest, ForgetsTheOldestOfTooManyRequests)
{
    const CoverImage first = cover(u"first.png"_s, Qt::red);
    const CoverImage other = cover(u"other.png"_s, Qt::green);
    CoverImage version = other;
    (void)cache.pixmap(dummyCover(), tile, 1);
    closePool();
    (void)cache.pixmap(first, tile, 1);
    for (int i = 0; i < CoverCache::maximumPending; ++i) {
        version.modified = 100 + i;
        (void)cache.pixmap(version, tile, 1);
    }
    gate.release();
    ASSERT_TRUE(QTest::qWaitFor([&] { return ready.count() == CoverCache::maximumPending; }));
    for (const QList<QVariant> &told : std::as_const(ready))
        EXPECT_EQ(told.constFirst(), other.path);
    ready.clear();
    EXPECT_EQ(middle(wait(first)), QColor(Qt::red));
}

TEST_F(CoverCacheTest, BrokenCoversShowTheDummyOnceAndForAll)
{
    const QImage dummy = cache.pixmap(dummyCover(), tile, 1).toImage();
    const qint64 whole = cover(u"whole.png"_s, Qt::red).bytes;
    for (const qint64 left : {qint64(0), qint64(40), whole / 2}) {
        const CoverImage broken = cover(u"broken%1.png"_s.arg(left), Qt::red);
        ASSERT_TRUE(QFile::resize(broken.path, left));
        testing::internal::CaptureStdout();
        const QPixmap shown = wait(broken);
        const std::string told = testing::internal::GetCapturedStdout();
        EXPECT_NE(told.find(broken.path.toStdString()), std::string::npos) << told;
        EXPECT_EQ(shown.toImage(), dummy) << left;
        EXPECT_FALSE(ready.wait(1)) << left;
    }
    const CoverImage tooWide = cover(u"wide.png"_s, Qt::red, QSize(4097, 2));
    EXPECT_EQ(wait(tooWide).toImage(), dummy);
}

TEST_F(CoverCacheTest, UnreadableAndReplacedCoversGetAnotherChance)
{
    CoverImage gone = cover(u"gone.png"_s, Qt::red);
    ASSERT_TRUE(QFile::rename(gone.path, gone.path + u"~"_s));
    ASSERT_NE(middle(wait(gone)), QColor(Qt::red));
    ASSERT_TRUE(QFile::rename(gone.path + u"~"_s, gone.path));
    ASSERT_NE(middle(cache.pixmap(gone, tile, 1)), QColor(Qt::red));
    cache.clear();
    EXPECT_EQ(middle(wait(gone)), QColor(Qt::red));
    CoverImage replaced = cover(u"gone.png"_s, Qt::green);
    replaced.modified = 2;
    EXPECT_EQ(middle(wait(replaced)), QColor(Qt::green));
}

TEST_F(CoverCacheTest, StaysWithinItsBound)
{
    // Each takes 4 x 1000 x 1000 bytes, so that twenty of them do not fit.
    CoverImage version = cover(u"a.png"_s, Qt::red, QSize(100, 100));
    for (int i = 0; i < 20; ++i) {
        version.modified = 10 + i;
        (void)cache.pixmap(version, QSize(1000, 1000), 1);
        ASSERT_TRUE(QTest::qWaitFor([&] { return ready.count() == 1; }));
        ready.clear();
    }
    EXPECT_EQ(middle(cache.pixmap(version, QSize(1000, 1000), 1)), QColor(Qt::red));
    version.modified = 10;
    EXPECT_NE(middle(cache.pixmap(version, QSize(1000, 1000), 1)), QColor(Qt::red));
}

TEST_F(CoverCacheTest, MayEndWhileThePoolWorks)
{
    const CoverImage red = cover(u"a.png"_s, Qt::red);
    int told = 0;
    for (int i = 0; i < 50; ++i) {
        CoverCache brief;
        QObject::connect(&brief, &CoverCache::ready, [&told] { ++told; });
        for (int size = 20; size < 24; ++size)
            (void)brief.pixmap(red, QSize(size, size), 1);
    }
    Dispatch::waitForGlobalWork();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(told, 0);
}

} // namespace
