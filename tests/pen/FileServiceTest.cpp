#include "pen/FileService.h"

#include "pen/URLFactory.h"
#include "tests/support/PenTest.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"

#include <QDateTime>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

QUrl bookFile(const QString &name)
{
    return URLFactory::fileURL(URLFactory::getBookURL().value(), name);
}

class FileServiceTest : public PenTest
{
protected:
    /// Older files have greater ages.
    void writeAged(const QString &name, int ageInSeconds) const
    {
        pen.write(u"book/"_s + name, "x");
        QFile file(pen.path(u"book/"_s + name));
        ASSERT_TRUE(file.open(QFile::ReadWrite));
        const QDateTime time = QDateTime::currentDateTime().addSecs(-ageInSeconds);
        ASSERT_TRUE(file.setFileTime(time, QFileDevice::FileModificationTime));
    }

    [[nodiscard]] ino_t inode(const QString &relative) const
    {
        struct stat status = {};
        EXPECT_EQ(::stat(qPrintable(pen.path(relative)), &status), 0);
        return status.st_ino;
    }
};

const QString missing = u"ERROR: No such file or directory"_s;

} // namespace

TEST_F(FileServiceTest, ReadsTextAndTracesIt)
{
    pen.write(u"book/ä 1.txt"_s, "Größe\r\n€");
    EXPECT_EQ(
        loggedBy([] {
            EXPECT_EQ(FileService::getFileContent(bookFile(u"ä 1.txt"_s)), u"Größe\r\n€"_s);
        }).filter(u"getFileContent"_s),
        QStringList({u"getFileContent Beginn"_s,
                     u"getFileContent fileURL = file:///Volumes/QUILLO/book/%C3%A4%201.txt"_s,
                     u"getFileContent return text = Größe\r\n€"_s, u"getFileContent Ende"_s}));
}

TEST_F(FileServiceTest, TellsWhyItCannotRead)
{
    const QUrl url = bookFile(u"none.txt"_s);
    QStringList printed;
    const QStringList entries = loggedBy(
        [&] { printed = printedBy([&] { EXPECT_FALSE(FileService::getFileContent(url)); }); });
    EXPECT_EQ(entries.mid(2),
              QStringList({u"getFileContent return nil"_s, u"getFileContent Ende"_s}));
    EXPECT_EQ(printed, QStringList(missing));
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(FileService::getFileLines(url)); }),
              QStringList(missing));
    pen.pullOut();
    EXPECT_FALSE(FileService::getFileContent(url));
}

TEST_F(FileServiceTest, TextIsUtf8)
{
    struct Row
    {
        const char *name;
        QByteArray bytes;
        std::optional<QString> text;
    };
    forEachRow<Row>({{"Empty", "", u""_s},
                     {"FourBytes", "\xf0\x9f\x90\xbb", u"🐻"_s},
                     {"Nul", QByteArray("a\0b", 3), u"a"_s + QChar(u'\0') + u"b"_s},
                     {"Latin1", "Gr\xf6\xdf", {}},
                     {"CutAtTheEnd", "a\xe2\x82", {}},
                     {"Overlong", "\xc0\xaf", {}},
                     {"Surrogate", "\xed\xa0\x80", {}}},
                    [this](const Row &row) {
                        pen.write(u"book/a.txt"_s, row.bytes);
                        const QStringList printed = printedBy([&row] {
                            const QUrl url = bookFile(u"a.txt"_s);
                            EXPECT_EQ(FileService::getFileContent(url), row.text);
                            EXPECT_EQ(FileService::getFileLines(url).has_value(),
                                      row.text.has_value());
                        });
                        EXPECT_EQ(printed.filter(u"ERROR: "_s).size(), row.text ? 0 : 2);
                    });
}

TEST_F(FileServiceTest, LinesHaveNoEmptyOnes)
{
    pen.write(u"book/a.txt"_s, "a\r\n\r\nb\n \n\v\t\n");
    EXPECT_EQ(FileService::getFileLines(bookFile(u"a.txt"_s)),
              QStringList({u"a"_s, u"b"_s, u" "_s, u"\t"_s}));
}

TEST_F(FileServiceTest, WritesInPlace)
{
    FileService::writeFile(u"something long"_s, bookFile(u"a.txt"_s));
    const ino_t before = inode(u"book/a.txt"_s);
    FileService::writeFile(u"Bär\n"_s, bookFile(u"a.txt"_s));
    EXPECT_EQ(pen.read(u"book/a.txt"_s), "Bär\n");
    EXPECT_EQ(inode(u"book/a.txt"_s), before);
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"a.txt"_s));
}

TEST_F(FileServiceTest, PrintsThatItCannotWrite)
{
    const QUrl url = bookFile(u"a.txt"_s);
    pen.remove(u"book"_s);
    EXPECT_EQ(printedBy([&] { FileService::writeFile(u"x"_s, url); }), QStringList(missing));
    pen.pullOut();
    EXPECT_EQ(printedBy([&] { FileService::writeFile(u"x"_s, url); }).size(), 1);
}

TEST_F(FileServiceTest, ListsNewestFirst)
{
    int age = 0;
    for (const QString &name : {u".z.txt"_s, u"z.TXT"_s, u"y.txt"_s, u"w.png"_s, u"a.txt.bak"_s})
        writeAged(name, age += 10);
    const QUrl folder = URLFactory::getBookURL().value();
    EXPECT_EQ(FileService::listFiles(folder, u".txt"_s), QStringList({u"y.txt"_s, u"a.txt.bak"_s}));
    EXPECT_EQ(FileService::listFiles(folder, QString()),
              QStringList({u"z.TXT"_s, u"y.txt"_s, u"w.png"_s, u"a.txt.bak"_s}));
    pen.remove(u"book"_s);
    EXPECT_EQ(FileService::listFiles(folder, u".txt"_s), QStringList());
}

TEST_F(FileServiceTest, DeletesTheFilesOfAMid)
{
    for (const QString &name : {u"00042_en.txt"_s, u"00042_en.png"_s, u"00042_en.qnk"_s,
                                u"00042_de.txt"_s, u"042_en.txt"_s})
        pen.write(u"book/"_s + name, "x");
    const QString line = u"\"Will delete item at file:///Volumes/QUILLO/book/00042_en.%1\""_s;
    EXPECT_EQ(printedBy([] { EXPECT_TRUE(FileService::deleteFiles(u"0042"_s)); }),
              QStringList({line.arg(u"qnk"_s), line.arg(u"png"_s), line.arg(u"txt"_s)}));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u"00042_de.txt"_s, u"042_en.txt"_s}));
    EXPECT_TRUE(FileService::deleteFiles(u"42"_s));
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"00042_de.txt"_s));
    EXPECT_EQ(printedBy([] { EXPECT_TRUE(FileService::deleteFiles(u"42"_s)); }), QStringList());
}

TEST_F(FileServiceTest, HostileMidsDeleteNothing)
{
    for (const QString &mid : {u"/../../configure/settings.ini"_s, u"/../x"_s, u"\n"_s})
        EXPECT_TRUE(FileService::deleteFiles(mid));
    EXPECT_EQ(pen.names(QString()), QStringList({u"book"_s, u"configure"_s, u"mp3"_s}));
    EXPECT_TRUE(pen.exists(u"configure/settings.ini"_s));
}

TEST_F(FileServiceTest, DeletesOneFile)
{
    pen.write(u"book/a.txt"_s, "x");
    pen.write(u"book/b.txt"_s, "x");
    EXPECT_EQ(printedBy([this] {
                  EXPECT_FALSE(FileService::deleteFile(pen.volumePath(u"book/none.txt"_s)));
                  EXPECT_TRUE(FileService::deleteFile(pen.volumePath(u"book/a.txt"_s)));
                  FileService::deleteFile(bookFile(u"b.txt"_s));
              }),
              QStringList());
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
    EXPECT_EQ(printedBy([] { FileService::deleteFile(bookFile(u"b c.txt"_s)); }),
              QStringList(u"\"Deleting this file: file:///Volumes/QUILLO/book/b%20c.txt failed for "
                          u"some reason\""_s));
    // The root of a volume exists and cannot be removed.
    const QStringList lines =
        printedBy([this] { EXPECT_FALSE(FileService::deleteFile(pen.volumePath(QString()))); });
    EXPECT_TRUE(lines.value(0).startsWith(u"\"ERROR: "_s));
    EXPECT_TRUE(pen.exists(u"configure/settings.ini"_s));
}

TEST_F(FileServiceTest, RemovesHiddenItemsAtTheRootOfAConnectedPenOnly)
{
    pen.write(u".Trashes/501/deep"_s, "x");
    pen.write(u"._x"_s, "x");
    pen.write(u"visible.txt"_s, "x");
    pen.write(u"book/.hidden"_s, "x");
    FileService::removeHiddenItems();
    EXPECT_EQ(pen.names(QString()),
              QStringList({u"book"_s, u"configure"_s, u"mp3"_s, u"visible.txt"_s}));
    EXPECT_TRUE(pen.exists(u"book/.hidden"_s));

    pen.write(u".x"_s, "x");
    pen.write(u"configure/settings.ini"_s, "");
    FileService::removeHiddenItems();
    EXPECT_TRUE(pen.exists(u".x"_s));
}
