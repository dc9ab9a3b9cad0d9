#include "library/ElementService.h"

#include "library/DownloadQueue.h"
#include "library/LibraryLists.h"
#include "tests/support/GoldenTrace.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Traces.h"

#include <QBuffer>
#include <QDateTime>
#include <QImage>
#include <QtEndian>

using namespace Qt::StringLiterals;

namespace {

QByteArray picture(const QSize &size, const char *format = "PNG")
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::darkCyan);
    QBuffer buffer;
    buffer.open(QBuffer::WriteOnly);
    EXPECT_TRUE(image.save(&buffer, format));
    return buffer.data();
}

/// A JPEG whose size stands behind `comment` bytes of comments.
QByteArray jpegBehindComments(int comment)
{
    QByteArray jpeg = picture({30, 40}, "JPEG");
    QByteArray segments;
    for (int left = comment; left > 0; left -= 60'000) {
        const auto length = static_cast<quint16>(std::min(left, 60'000) + 2);
        QByteArray size(2, 0);
        qToBigEndian(length, size.data());
        segments += "\xff\xfe" + size + QByteArray(length - 2, 'x');
    }
    return jpeg.insert(2, segments);
}

QStringList ids(const ElementList &elements)
{
    QStringList ids;
    for (const ElementPtr &element : elements)
        ids.append(element->id);
    return ids;
}

class ElementScan : public PenTest
{
protected:
    ~ElementScan() override { clearLibraryLists(); }

    const PenPlaces places = PenPlaces::look().value();

    /// A metadata file; later ones are older, so that they are listed in the order of the calls.
    void addText(const QString &fileName, const QByteArray &text)
    {
        const QString relative = u"book/"_s + fileName;
        pen.write(relative, text);
        QFile file(pen.path(relative));
        ASSERT_TRUE(file.open(QFile::ReadWrite));
        ASSERT_TRUE(file.setFileTime(m_time, QFileDevice::FileModificationTime));
        m_time = m_time.addSecs(-10);
    }

    /// The cover of a title whose file holds these bytes.
    [[nodiscard]] std::optional<CoverImage> coverOf(const QByteArray &bytes) const
    {
        pen.write(u"book/c.png"_s, bytes);
        return ElementService::loadCoverImage(places, u"c"_s);
    }

private:
    QDateTime m_time = QDateTime::currentDateTime();
};

} // namespace

TEST_F(ElementScan, SortsTitlesByKindAndName)
{
    int number = 0;
    for (const char *text : {"apfel\nType: Buch\nURL: x", "Zebra\nType: Buch", "Ähre\nType: Buch",
                             "Zebra\nType: Buch", "b\nType: Spiel", "c\nType: Archiv",
                             "d\nType: Lernmaterial", "e\nType: Heft", "\xff\nType: Buch"})
        addText(QString::number(++number) + u"_en.txt"_s, QByteArray("Name: ") + text + '\n');
    const PenLibrary library = ElementService::getQuilloFilesInfoFromPen();
    EXPECT_EQ(ids(library.books), QStringList({u"2_en"_s, u"4_en"_s, u"1_en"_s, u"3_en"_s}));
    EXPECT_EQ(ids(library.games), QStringList(u"5_en"_s));
    EXPECT_EQ(ids(library.archives), QStringList(u"6_en"_s));
    EXPECT_EQ(ids(library.learningMaterials), QStringList(u"7_en"_s));
    const BaseElement &copy = *library.books.at(2);
    EXPECT_EQ(copy.name, u"apfel"_s);
    EXPECT_EQ(copy.mid + copy.url, QString());
    EXPECT_EQ(copy.image, dummyCover());
}

TEST_F(ElementScan, IsTracedAsRecorded)
{
    GoldenTrace trace;
    const auto add = [&trace](const QString &title) {
        ElementList plain;
        PenLibrary library;
        trace.add(title + u", read for the views"_s,
                  loggedBy([&] { library = ElementService::getQuilloFilesInfoFromPen(); }));
        trace.add(title + u", read for planning"_s,
                  loggedBy([&] { plain = ElementService::getTextFileContentFromPen(); }));
        trace.add(u"titles"_s, ids(library.books) + ids(library.games) + ids(plain));
    };
    add(u"no titles"_s);
    addText(u"1_en.txt"_s, "Name: b\nType: Buch\n");
    addText(u"2_en.txt"_s, "Name: a\nType: Buch\n");
    addText(u"3_en.txt"_s, "Name: \xff");
    addText(u"notes.txt.bak"_s, "Name: a\nType: Spiel\n");
    addText(u"5_en.txt"_s, "Name: without a type\n");
    pen.write(u"book/2_en.png"_s, "no picture");
    add(u"five texts"_s);
    pen.write(u"configure/settings.ini"_s, "");
    add(u"a pen that is not connected"_s);
    pen.pullOut();
    add(u"no pen"_s);
    trace.expectAsIn(u"scan.txt"_s);
}

TEST_F(ElementScan, ATitlesIdentityComesFromTheTextOrTheFile)
{
    addText(u"00042_en.txt"_s, "Name: a\n");
    addText(u"notes.txt"_s, "");
    addText(u"a.txt.txt_b.txt"_s, "");
    addText(u"1_en.txt"_s, "Id: 00042_de\n");
    addText(u"2_en.txt"_s, "\xef\xbb\xbfId: ../settings_x\n");
    addText(u"4_en.txt"_s, "Id:\n");
    addText(u"5_en.txt"_s, QByteArray("Id: a\0b\n", 8));
    QStringList names;
    for (const ElementPtr &record : ElementService::getTextFileContentFromPen())
        names += record->id + u' ' + record->mid;
    EXPECT_EQ(names, QStringList({u"00042_en 00042"_s, u"notes "_s, u"a_b a"_s, u"00042_de 00042"_s,
                                  u"2_en 2"_s, u"4_en 4"_s, u"5_en 5"_s}));
}

TEST_F(ElementScan, CoverIsThePictureBesideTheText)
{
    const QByteArray png = picture({30, 40});
    pen.write(u"book/00042_en.png"_s, png);
    const auto cover = ElementService::loadCoverImage(places, u"00042_en"_s);
    ASSERT_TRUE(cover);
    EXPECT_EQ(cover->path, pen.volumePath(u"book/00042_en.png"_s));
    EXPECT_EQ(cover->size, QSize(30, 40));
    EXPECT_EQ(cover->bytes, png.size());
    EXPECT_NEAR(double(cover->modified) / 1e9, double(QDateTime::currentSecsSinceEpoch()), 60);
    addText(u"00042_en.txt"_s, "Name: a\nType: Buch\n");
    addText(u"1_en.txt"_s, "Name: named by its text\nId: 00042_en\nType: Buch\n");
    const ElementList books = ElementService::getQuilloFilesInfoFromPen().books;
    EXPECT_EQ(ids(books), QStringList(2, u"00042_en"_s));
    for (const ElementPtr &book : books)
        EXPECT_EQ(book->image, cover);
}

TEST_F(ElementScan, UnreadableCoversHaveAStandIn)
{
    EXPECT_EQ(ElementService::loadCoverImage(places, u"none"_s), dummyCover());
    EXPECT_EQ(ElementService::loadCoverImage(places, u"../configure/settings"_s), dummyCover());
    pen.write(u"book/folder.png/x"_s, "");
    EXPECT_EQ(ElementService::loadCoverImage(places, u"folder"_s), dummyCover());
    EXPECT_EQ(dummyCover().path.right(15), u"/dummy_book.svg"_s);
    for (const QByteArray &large : {picture({4097, 1}), picture({1, 5000}, "JPEG")})
        EXPECT_EQ(coverOf(large), dummyCover());
    pen.pullOut();
    EXPECT_EQ(ElementService::loadCoverImage(places, u"none"_s), dummyCover());
}

TEST_F(ElementScan, CoversThatAreNoPictureLeaveTheTitleOut)
{
    const QByteArray png = picture({30, 40});
    for (const QByteArray &bytes :
         {QByteArray(), QByteArray("<html>404</html>"), png.left(20), QByteArray(300'000, '\0')})
        EXPECT_FALSE(coverOf(bytes)) << bytes.left(30).toHex().constData();
    addText(u"c.txt"_s, "Name: a\nType: Buch\n");
    EXPECT_TRUE(ElementService::getQuilloFilesInfoFromPen().books.isEmpty());
    EXPECT_EQ(ElementService::getTextFileContentFromPen().size(), 1);
    pen.write(u"book/c.png"_s, png);
    EXPECT_EQ(ElementService::getQuilloFilesInfoFromPen().books.size(), 1) << "is not read again";
}

TEST_F(ElementScan, OddPicturesAreCovers)
{
    const QSize size(30, 40);
    for (const QByteArray &bytes : {picture(size, "JPEG"), jpegBehindComments(10'000),
                                    jpegBehindComments(200'000), picture(size).left(60)})
        EXPECT_EQ(coverOf(bytes).value_or(CoverImage()).size, size);
    EXPECT_TRUE(coverOf(picture({4096, 1})));
}

TEST_F(ElementScan, DeletesTheThreeFilesOfATitle)
{
    for (const char *name : {"1_en.txt", "1_en.png", "1_en.qnk", "1_de.txt", "11_en.txt"})
        pen.write(u"book/"_s + QString::fromLatin1(name), "x");
    EXPECT_TRUE(ElementService::qnkFileExists(places, u"1_en"_s));
    EXPECT_TRUE(ElementService::deleteElement(u"1_en"_s));
    EXPECT_FALSE(ElementService::qnkFileExists(places, u"1_en"_s));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u"11_en.txt"_s, u"1_de.txt"_s}));
    pen.write(u"book/folder/2_en.txt"_s, "x");
    EXPECT_FALSE(ElementService::deleteElement(u"folder/2_en"_s));
    EXPECT_TRUE(pen.exists(u"book/folder/2_en.txt"_s));
    pen.pullOut();
    EXPECT_FALSE(ElementService::qnkFileExists(places, u"1_en"_s));
}

TEST(LibraryLists, AreEmptiedWithTheQueueAndKeepTheLastCatalogue)
{
    const ElementList one = {std::make_shared<BaseElement>()};
    using List = ElementList &(*)();
    const List lists[] = {
        bookList,      gameList,      archiveList,      learningMaterialList,
        foundBookList, foundGameList, foundArchiveList, foundLearningMaterialList};
    for (const List list : lists)
        list() = one;
    musicList() = foundMusicList() = {{}};
    selectedElementIds() = {u"b"_s};
    updateElements() = {{}};
    pendingElements() = one;
    EXPECT_EQ(allElements().size(), 4);
    clearLibraryLists();
    for (const List list : lists)
        EXPECT_TRUE(list().isEmpty());
    EXPECT_TRUE(musicList().isEmpty() && foundMusicList().isEmpty());
    EXPECT_TRUE(selectedElementIds().isEmpty() && updateElements().isEmpty());
    EXPECT_EQ(pendingElements(), one);
    pendingElements().clear();
}
