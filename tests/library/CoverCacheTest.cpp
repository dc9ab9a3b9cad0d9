#include "library/CoverCache.h"

#include "platform/Dispatch.h"

#include <QImage>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

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

    CoverImage file(const QString &name, const QByteArray &content)
    {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return {file.fileName(), QSize(600, 800), content.size(), 1};
    }

    QPixmap wait(const CoverImage &image, qreal ratio = 1)
    {
        QPixmap shown = cache.pixmap(image, tile, ratio);
        EXPECT_TRUE(QTest::qWaitFor([&] { return ready.count() > 0; }, 10'000));
        ready.clear();
        return cache.pixmap(image, tile, ratio);
    }

    /// Keeps the whole pool busy; each openPool() sets one thread free.
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

    void openPool() { gate.release(); }

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
    struct Row
    {
        QString name;
        QSize picture;
        qreal ratio;
        QSize pixels;
    };
    for (const Row &row :
         {Row{u"same"_s, {600, 800}, 1, {60, 80}}, Row{u"double"_s, {600, 800}, 2, {120, 160}},
          Row{u"wide"_s, {800, 400}, 1, {60, 30}}, Row{u"small"_s, {6, 8}, 1, {60, 80}}}) {
        const QPixmap shown = wait(cover(row.name, Qt::blue, row.picture), row.ratio);
        EXPECT_EQ(shown.size(), row.pixels) << qPrintable(row.name);
        EXPECT_EQ(shown.devicePixelRatio(), row.ratio) << qPrintable(row.name);
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
    openPool();
    ASSERT_TRUE(QTest::qWaitFor([&] { return ready.count() == 3; }));
    const QStringList told{ready.at(0).constFirst().toString(), ready.at(1).constFirst().toString(),
                           ready.at(2).constFirst().toString()};
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
    openPool();
    ASSERT_TRUE(QTest::qWaitFor([&] { return ready.count() == CoverCache::maximumPending; }));
    for (const QList<QVariant> &told : std::as_const(ready))
        EXPECT_EQ(told.constFirst(), other.path);
    ready.clear();
    EXPECT_EQ(middle(wait(first)), QColor(Qt::red));
}

TEST_F(CoverCacheTest, BrokenCoversShowTheDummyOnceAndForAll)
{
    QFile whole(cover(u"whole.png"_s, Qt::red).path);
    ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
    const QByteArray content = whole.readAll();
    const QImage dummy = cache.pixmap(dummyCover(), tile, 1).toImage();
    const std::pair<QString, QByteArray> rows[] = {
        {u"empty.png"_s, {}},
        {u"half.png"_s, content.left(content.size() / 2)},
        {u"header.png"_s, content.left(40)}};
    for (const auto &[name, bytes] : rows) {
        const CoverImage broken = file(name, bytes);
        testing::internal::CaptureStdout();
        const QPixmap shown = wait(broken);
        const std::string told = testing::internal::GetCapturedStdout();
        EXPECT_NE(told.find(name.toStdString()), std::string::npos) << told;
        EXPECT_EQ(shown.toImage(), dummy) << qPrintable(name);
        EXPECT_FALSE(ready.wait(1)) << qPrintable(name);
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
    const CoverImage image = cover(u"a.png"_s, Qt::red, QSize(100, 100));
    CoverImage version = image;
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

TEST(CoverCacheLife, MayEndWhileThePoolWorks)
{
    QTemporaryDir folder;
    QImage image(600, 800, QImage::Format_RGB32);
    image.fill(Qt::red);
    const CoverImage cover{folder.filePath(u"a.png"_s), image.size(), 1, 1};
    ASSERT_TRUE(image.save(cover.path));
    int told = 0;
    for (int i = 0; i < 50; ++i) {
        CoverCache cache;
        QObject::connect(&cache, &CoverCache::ready, [&told] { ++told; });
        for (int size = 20; size < 24; ++size)
            (void)cache.pixmap(cover, QSize(size, size), 1);
    }
    Dispatch::waitForGlobalWork();
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(told, 0);
}

} // namespace
