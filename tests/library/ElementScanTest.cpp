#include "library/ElementService.h"

#include "download/DownloadQueue.h"
#include "library/LibraryLists.h"
#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <QBuffer>
#include <QDateTime>
#include <QImage>
#include <QtEndian>

#include <gtest/gtest.h>

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

    [[nodiscard]] QString coverPath(const QString &id) const
    {
        return pen.volumePath(u"book/"_s + id + u".png"_s);
    }

    /// The cover of a title whose file holds these bytes.
    [[nodiscard]] std::optional<CoverImage> coverOf(const QByteArray &bytes) const
    {
        pen.write(u"book/c.png"_s, bytes);
        return ElementService::loadCoverImage(u"c"_s);
    }

    /// The entries of this part of the program only.
    template <typename Work>
    static QStringList scanEntries(const Work &work)
    {
        QStringList entries = loggedBy(work);
        entries.removeIf([](const QString &entry) {
            return !entry.startsWith(u"getQuilloFilesInfoFromPen"_s)
                   && !entry.startsWith(u"getTextFileContentFromPen"_s);
        });
        return entries;
    }

private:
    QDateTime m_time = QDateTime::currentDateTime();
};

} // namespace

TEST_F(ElementScan, SortsTitlesByKindAndName)
{
    addText(u"1_en.txt"_s, "Name: apfel\nType: Buch\nURL: x\n");
    addText(u"2_en.txt"_s, "Name: Zebra\nType: Buch\n");
    addText(u"3_en.txt"_s, "Name: Ähre\nType: Buch\n");
    addText(u"4_en.txt"_s, "Name: Zebra\nType: Buch\n");
    addText(u"5_en.txt"_s, "Name: b\nType: Spiel\n");
    addText(u"6_en.txt"_s, "Name: c\nType: Archiv\n");
    addText(u"7_en.txt"_s, "Name: d\nType: Lernmaterial\n");
    addText(u"8_en.txt"_s, "Name: e\nType: Heft\n");
    addText(u"9_en.txt"_s, "Name: \xff\nType: Buch\n");
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

TEST_F(ElementScan, TracesTheFullScan)
{
    addText(u"1_en.txt"_s, "Name: b\nType: Buch\n");
    addText(u"2_en.txt"_s, "Name: a\nType: Buch\n");
    addText(u"3_en.txt"_s, "\xff");
    pen.write(u"book/2_en.png"_s, "no picture");
    const QStringList entries =
        scanEntries([] { EXPECT_EQ(ElementService::getQuilloFilesInfoFromPen().books.size(), 1); });
    const QString scan = u"getQuilloFilesInfoFromPen "_s;
    EXPECT_EQ(
        entries,
        QStringList({scan + u"Beginn"_s, scan + u"in if isQuilloConnected"_s,
                     scan + u"in if bookFolderExists"_s, scan + u"elementFileNames length = 3"_s,
                     scan + u"in for elementFiles: Id: 1_en\n"_s,
                     scan + u"in for elementFiles: Id: 2_en\n"_s,
                     scan + u"nach for elementFileNames"_s, scan + u"in if contentList.count > 0"_s,
                     scan + u"contentList length = 2"_s, scan + u"nach for contentList"_s,
                     scan + u"baseElementArray length = 2"_s,
                     scan + u"in for baseElementArray: 2_en"_s,
                     scan + u"in for baseElementArray: 1_en"_s, scan + u"if image != nil"_s,
                     scan + u"nach for baseElementArray"_s, scan + u"Ende"_s}));
}

TEST_F(ElementScan, TracesWhereTheFullScanEndsEarly)
{
    const QString scan = u"getQuilloFilesInfoFromPen "_s;
    const auto run = [] {
        const PenLibrary library = ElementService::getQuilloFilesInfoFromPen();
        EXPECT_TRUE((library.books + library.games + library.archives + library.learningMaterials)
                        .isEmpty());
    };
    EXPECT_EQ(
        scanEntries(run),
        QStringList({scan + u"Beginn"_s, scan + u"in if isQuilloConnected"_s,
                     scan + u"in if bookFolderExists"_s, scan + u"elementFileNames length = 0"_s,
                     scan + u"nach for elementFileNames"_s, scan + u"Ende"_s}));
    pen.remove(u"book"_s);
    EXPECT_EQ(
        scanEntries(run),
        QStringList({scan + u"Beginn"_s, scan + u"in if isQuilloConnected"_s, scan + u"Ende"_s}));
    pen.remove(u"configure/settings.ini"_s);
    EXPECT_EQ(scanEntries(run), QStringList({scan + u"Beginn"_s, scan + u"Ende"_s}));
}

TEST_F(ElementScan, PlainReadingKeepsListingOrderAndEveryType)
{
    addText(u"00042_en.txt"_s, "Name: b\n");
    addText(u"00007_de.txt"_s, "Name: \xff\n");
    addText(u"notes.txt.bak"_s, "Name: a\nType: Spiel\n");
    pen.write(u"configure/settings.ini"_s, "");
    ElementList records;
    const QString plain = u"getTextFileContentFromPen "_s;
    EXPECT_EQ(
        scanEntries([&] { records = ElementService::getTextFileContentFromPen(); }),
        QStringList({plain + u"Beginn"_s, plain + u"elementFileNames length 3"_s,
                     plain + u"in for elementFileNames: Id: 00042_en\n"_s, plain + u"continue"_s,
                     plain + u"in for elementFileNames: Id: notes.bak\n"_s,
                     plain + u"nach for elementFileNames"_s,
                     plain + u"baseElementArray length: 2"_s, plain + u"Ende"_s}));
    ASSERT_EQ(ids(records), QStringList({u"00042_en"_s, u"notes.bak"_s}));
    EXPECT_EQ(records.first()->mid, u"00042"_s);
    EXPECT_FALSE(records.first()->type || records.first()->image);
    EXPECT_EQ(records.last()->mid, QString());

    pen.pullOut();
    EXPECT_EQ(scanEntries([&] { records = ElementService::getTextFileContentFromPen(); }),
              QStringList({plain + u"Beginn"_s, plain + u"return"_s}));
    EXPECT_TRUE(records.isEmpty());
}

struct IdCase
{
    const char *name;
    QString fileName;
    QByteArray text;
    QString id;
    QString mid;
};

class TitleIdentity : public ElementScan, public testing::WithParamInterface<IdCase>
{
};

TEST_P(TitleIdentity, ComesFromTheTextOrTheFile)
{
    addText(GetParam().fileName, GetParam().text);
    const ElementList records = ElementService::getTextFileContentFromPen();
    ASSERT_EQ(records.size(), 1);
    EXPECT_EQ(records.first()->id, GetParam().id);
    EXPECT_EQ(records.first()->mid, GetParam().mid);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TitleIdentity,
    testing::Values(
        IdCase{"File", u"00042_en.txt"_s, "Name: a\n", u"00042_en"_s, u"00042"_s},
        IdCase{"FileWithoutUnderscore", u"notes.txt"_s, "", u"notes"_s, u""_s},
        IdCase{"EveryExtensionGoes", u"a.txt.txt_b.txt"_s, "", u"a_b"_s, u"a"_s},
        IdCase{"OwnLine", u"1_en.txt"_s, "Id: 00042_de\n", u"00042_de"_s, u"00042"_s},
        IdCase{"OwnLineGoesUp", u"1_en.txt"_s, "Id: ../settings_x\n", u"1_en"_s, u"1"_s},
        IdCase{"OwnLineIsRooted", u"1_en.txt"_s, "Id: /etc/passwd\n", u"1_en"_s, u"1"_s},
        IdCase{"OwnLineIsEmpty", u"1_en.txt"_s, "Id:\n", u"1_en"_s, u"1"_s},
        IdCase{"OwnLineIsTwoDots", u"1_en.txt"_s, "Id: ..\n", u"1_en"_s, u"1"_s},
        IdCase{"OwnLineHasANul", u"1_en.txt"_s, QByteArray("Id: a\0b\n", 8), u"1_en"_s, u"1"_s}),
    caseName);

TEST_F(ElementScan, AByteOrderMarkDoesNotHideTheName)
{
    addText(u"1_en.txt"_s, "\xef\xbb\xbfName: Drache\nType: Buch\n");
    EXPECT_EQ(ElementService::getTextFileContentFromPen().value(0)->name, u"Drache"_s);
}

TEST_F(ElementScan, HostileIdsAreShownUnderTheFilesAndTold)
{
    addText(u"1_en.txt"_s, "Id: ../../x\nName: a\nType: Buch\n");
    pen.write(u"x.png"_s, picture({4, 5}));
    PenLibrary library;
    const QStringList printed =
        printedBy([&] { library = ElementService::getQuilloFilesInfoFromPen(); });
    EXPECT_EQ(printed,
              QStringList({u"\"Quillo is connected.\""_s, u"\"Not an identifier: ../../x\""_s}));
    ASSERT_EQ(ids(library.books), QStringList(u"1_en"_s));
    EXPECT_EQ(library.books.first()->image, dummyCover());
}

TEST_F(ElementScan, CoverIsThePictureBesideTheText)
{
    const QByteArray png = picture({30, 40});
    pen.write(u"book/00042_en.png"_s, png);
    const auto cover = ElementService::loadCoverImage(u"00042_en"_s);
    ASSERT_TRUE(cover);
    EXPECT_EQ(cover->path, coverPath(u"00042_en"_s));
    EXPECT_EQ(cover->size, QSize(30, 40));
    EXPECT_EQ(cover->bytes, png.size());
    const auto age =
        std::chrono::nanoseconds(QDateTime::currentMSecsSinceEpoch() * 1'000'000 - cover->modified);
    EXPECT_LT(std::abs(age.count()), 60'000'000'000);
}

TEST_F(ElementScan, UnreadableCoversHaveAStandIn)
{
    EXPECT_EQ(ElementService::loadCoverImage(u"none"_s), dummyCover());
    EXPECT_EQ(ElementService::loadCoverImage(u"../configure/settings"_s), dummyCover());
    pen.write(u"book/folder.png/x"_s, "");
    EXPECT_EQ(ElementService::loadCoverImage(u"folder"_s), dummyCover());
    EXPECT_EQ(dummyCover().path.right(15), u"/dummy_book.svg"_s);
    pen.pullOut();
    EXPECT_EQ(ElementService::loadCoverImage(u"none"_s), dummyCover());
}

TEST_F(ElementScan, CoversThatAreNoPictureLeaveTheTitleOut)
{
    const QByteArray png = picture({30, 40});
    QByteArray wide = picture({4097, 1});
    for (const QByteArray &bytes : {QByteArray(), QByteArray("<html>404</html>"), png.left(8),
                                    png.left(20), QByteArray(300'000, '\0'), wide})
        EXPECT_FALSE(coverOf(bytes)) << bytes.left(30).toHex().constData();
    addText(u"c.txt"_s, "Name: a\nType: Buch\n");
    EXPECT_TRUE(ElementService::getQuilloFilesInfoFromPen().books.isEmpty());
    EXPECT_EQ(ElementService::getTextFileContentFromPen().size(), 1);
}

TEST_F(ElementScan, OddPicturesAreCovers)
{
    const auto sizeOf = [this](const QByteArray &bytes) {
        const auto cover = coverOf(bytes);
        return cover ? cover->size : QSize();
    };
    EXPECT_EQ(sizeOf(picture({30, 40}, "JPEG")), QSize(30, 40));
    EXPECT_EQ(sizeOf(picture({4096, 1})), QSize(4096, 1));
    EXPECT_EQ(sizeOf(picture({600, 800}).left(100)), QSize(600, 800));
    EXPECT_EQ(sizeOf(jpegBehindComments(10'000)), QSize(30, 40));
    EXPECT_EQ(sizeOf(jpegBehindComments(200'000)), QSize(30, 40));
}

TEST_F(ElementScan, DeletesTheThreeFilesOfATitle)
{
    for (const char *name : {"1_en.txt", "1_en.png", "1_en.qnk", "1_de.txt", "11_en.txt"})
        pen.write(u"book/"_s + QString::fromLatin1(name), "x");
    BaseElement title;
    title.id = u"1_en"_s;
    title.name = u"Drache"_s;
    title.type = ElementType::Game;
    gameList() = {std::make_shared<Game>(title)};
    EXPECT_TRUE(ElementService::qnkFileExists(u"1_en"_s));
    EXPECT_EQ(printedBy([] { ElementService::deleteElement(u"1_en"_s); }),
              QStringList(u"Will delete Drache of type Game"_s));
    EXPECT_FALSE(ElementService::qnkFileExists(u"1_en"_s));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u"11_en.txt"_s, u"1_de.txt"_s}));
    EXPECT_EQ(printedBy([] { ElementService::deleteElement(u"1_de"_s); }), QStringList());
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"11_en.txt"_s));
    pen.write(u"configure/tbd.txt"_s, "x");
    ElementService::deleteElement(u"../configure/tbd"_s);
    EXPECT_TRUE(pen.exists(u"configure/tbd.txt"_s));
    pen.pullOut();
    EXPECT_FALSE(ElementService::qnkFileExists(u"1_en"_s));
}

TEST(LibraryLists, AreEmptiedWithTheQueueAndKeepTheLastCatalogue)
{
    const auto made = [](const char *id) {
        BaseElement element;
        element.id = QString::fromLatin1(id);
        return ElementList{std::make_shared<BaseElement>(element)};
    };
    bookList() = made("b");
    gameList() = made("g");
    archiveList() = made("a");
    learningMaterialList() = made("l");
    foundBookList() = foundGameList() = foundArchiveList() = foundLearningMaterialList() =
        made("f");
    musicList() = foundMusicList() = {{}};
    selectedElementIds() = {u"b"_s};
    updateElements() = {{}};
    pendingElements() = made("p");
    EXPECT_EQ(ids(allElements()), QStringList({u"b"_s, u"g"_s, u"a"_s, u"l"_s}));
    clearLibraryLists();
    EXPECT_TRUE((allElements() + foundBookList() + foundGameList() + foundArchiveList()
                 + foundLearningMaterialList())
                    .isEmpty());
    EXPECT_TRUE(musicList().isEmpty() && foundMusicList().isEmpty());
    EXPECT_TRUE(selectedElementIds().isEmpty() && updateElements().isEmpty());
    EXPECT_EQ(ids(pendingElements()), QStringList(u"p"_s));
    pendingElements().clear();
}
