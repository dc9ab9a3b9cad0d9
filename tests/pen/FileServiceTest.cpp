#include "pen/FileService.h"

#include "pen/URLFactory.h"
#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>
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
    void writeAged(const QString &relative, int ageInSeconds) const
    {
        pen.write(relative, "x");
        QFile file(pen.path(relative));
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
    const QUrl url = bookFile(u"ä 1.txt"_s);
    std::optional<QString> content;
    QStringList printed;
    const QStringList entries =
        loggedBy([&] { printed = printedBy([&] { content = FileService::getFileContent(url); }); });
    EXPECT_EQ(content, u"Größe\r\n€"_s);
    EXPECT_EQ(
        entries,
        QStringList({u"getFileContent Beginn"_s,
                     u"getFileContent fileURL = file:///Volumes/QUILLO/book/%C3%A4%201.txt"_s,
                     u"getFileContent return text = Größe\r\n€"_s, u"getFileContent Ende"_s}));
    EXPECT_EQ(printed, QStringList());
}

TEST_F(FileServiceTest, TellsWhyItCannotRead)
{
    const QUrl url = bookFile(u"none.txt"_s);
    QStringList printed;
    const QStringList entries = loggedBy(
        [&] { printed = printedBy([&] { EXPECT_FALSE(FileService::getFileContent(url)); }); });
    EXPECT_EQ(entries, QStringList({u"getFileContent Beginn"_s,
                                    u"getFileContent fileURL = "
                                    u"file:///Volumes/QUILLO/book/none.txt"_s,
                                    u"getFileContent return nil"_s, u"getFileContent Ende"_s}));
    EXPECT_EQ(printed, QStringList(missing));
    pen.pullOut();
    EXPECT_FALSE(FileService::getFileContent(url));
}

struct EncodingCase
{
    const char *name;
    QByteArray bytes;
    std::optional<QString> text;
};

class FileEncoding : public PenTest, public testing::WithParamInterface<EncodingCase>
{
};

TEST_P(FileEncoding, IsUtf8)
{
    pen.write(u"book/a.txt"_s, GetParam().bytes);
    std::optional<QString> content;
    std::optional<QStringList> lines;
    const QStringList printed = printedBy([&] {
        content = FileService::getFileContent(bookFile(u"a.txt"_s));
        lines = FileService::getFileLines(bookFile(u"a.txt"_s));
    });
    EXPECT_EQ(content, GetParam().text);
    EXPECT_EQ(lines.has_value(), GetParam().text.has_value());
    EXPECT_EQ(printed.size(), GetParam().text ? 0 : 2);
    for (const QString &line : printed)
        EXPECT_TRUE(line.startsWith(u"ERROR: "_s)) << qPrintable(line);
}

INSTANTIATE_TEST_SUITE_P(Bytes, FileEncoding,
                         testing::Values(EncodingCase{"Empty", "", u""_s},
                                         EncodingCase{"FourBytes", "\xf0\x9f\x90\xbb", u"🐻"_s},
                                         EncodingCase{"Nul", QByteArray("a\0b", 3),
                                                      u"a"_s + QChar(u'\0') + u"b"_s},
                                         EncodingCase{"Latin1",
                                                      "Gr\xf6\xdf"
                                                      "e",
                                                      std::nullopt},
                                         EncodingCase{"LoneContinuation", "a\x80", std::nullopt},
                                         EncodingCase{"CutAtTheEnd", "a\xe2\x82", std::nullopt},
                                         EncodingCase{"Overlong", "\xc0\xaf", std::nullopt},
                                         EncodingCase{"Surrogate", "\xed\xa0\x80", std::nullopt},
                                         EncodingCase{"Utf16",
                                                      "\xff\xfe"
                                                      "a",
                                                      std::nullopt}),
                         caseName);

TEST_F(FileServiceTest, LinesHaveNoEmptyOnes)
{
    const auto linesOf = [this](const QByteArray &bytes) {
        pen.write(u"book/a.txt"_s, bytes);
        return FileService::getFileLines(bookFile(u"a.txt"_s));
    };
    EXPECT_EQ(linesOf("a\r\n\r\nb\n"), QStringList({u"a"_s, u"b"_s}));
    EXPECT_EQ(linesOf(" \n\v\t\n"), QStringList({u" "_s, u"\t"_s}));
    EXPECT_EQ(linesOf("\n\r\n"), QStringList());
    EXPECT_EQ(printedBy([] { EXPECT_FALSE(FileService::getFileLines(bookFile(u"none"_s))); }),
              QStringList(missing));
}

TEST_F(FileServiceTest, WritesInPlace)
{
    FileService::writeFile(u"something long"_s, bookFile(u"a.txt"_s));
    const ino_t before = inode(u"book/a.txt"_s);
    EXPECT_EQ(printedBy([] { FileService::writeFile(u"Bär\n"_s, bookFile(u"a.txt"_s)); }),
              QStringList());
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
    writeAged(u"book/x.txt"_s, 20);
    writeAged(u"book/y.txt"_s, 10);
    writeAged(u"book/a.txt.bak"_s, 30);
    writeAged(u"book/.z.txt"_s, 0);
    writeAged(u"book/z.TXT"_s, 5);
    writeAged(u"book/w.png"_s, 15);
    const QUrl folder = URLFactory::getBookURL().value();
    EXPECT_EQ(FileService::listFiles(folder, u".txt"_s),
              QStringList({u"y.txt"_s, u"x.txt"_s, u"a.txt.bak"_s}));
    EXPECT_EQ(FileService::listFiles(folder, QString()),
              QStringList({u"z.TXT"_s, u"y.txt"_s, u"w.png"_s, u"x.txt"_s, u"a.txt.bak"_s}));
    pen.remove(u"book"_s);
    EXPECT_EQ(FileService::listFiles(folder, u".txt"_s), QStringList());
}

TEST_F(FileServiceTest, DeletesTheFilesOfAMid)
{
    for (const char *name : {"book/00042_en.txt", "book/00042_en.png", "book/00042_en.qnk",
                             "book/00042_de.txt", "book/042_en.txt"})
        pen.write(QString::fromLatin1(name), "x");
    const QString line = u"\"Will delete item at file:///Volumes/QUILLO/book/00042_en.%1\""_s;
    EXPECT_EQ(printedBy([] { EXPECT_TRUE(FileService::deleteFiles(u"0042"_s)); }),
              QStringList({line.arg(u"qnk"_s), line.arg(u"png"_s), line.arg(u"txt"_s)}));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u"00042_de.txt"_s, u"042_en.txt"_s}));
    EXPECT_EQ(printedBy([] { EXPECT_TRUE(FileService::deleteFiles(u"42"_s)); }),
              QStringList(u"\"Will delete item at file:///Volumes/QUILLO/book/042_en.txt\""_s));
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
}

TEST_F(FileServiceTest, PrintsThatItCannotDelete)
{
    // The root of a volume exists and cannot be removed.
    const QString root = pen.volumePath(QString());
    const QStringList lines = printedBy([&] { EXPECT_FALSE(FileService::deleteFile(root)); });
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().startsWith(u"\"ERROR: "_s)) << qPrintable(lines.first());
    EXPECT_TRUE(pen.exists(u"configure/settings.ini"_s));
}

TEST_F(FileServiceTest, RemovesHiddenItemsAtTheRootOnly)
{
    pen.write(u".Trashes/501/deep"_s, "x");
    pen.write(u"._x"_s, "x");
    pen.write(u"visible.txt"_s, "x");
    pen.write(u"book/.hidden"_s, "x");
    FileService::removeHiddenItems();
    EXPECT_EQ(pen.names(QString()),
              QStringList({u"book"_s, u"configure"_s, u"mp3"_s, u"visible.txt"_s}));
    EXPECT_TRUE(pen.exists(u"book/.hidden"_s));
}

TEST_F(FileServiceTest, LeavesHiddenItemsOfWhatIsNoConnectedPen)
{
    pen.write(u".x"_s, "x");
    pen.write(u"configure/settings.ini"_s, "");
    FileService::removeHiddenItems();
    EXPECT_TRUE(pen.exists(u".x"_s));
    pen.pullOut();
    FileService::removeHiddenItems();
    EXPECT_TRUE(pen.exists(u".x"_s));
}
