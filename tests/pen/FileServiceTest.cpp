#include "pen/FileService.h"

#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Address.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"

#include <QDir>

#include <chrono>
#include <filesystem>
#include <sys/fsuid.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QUrl bookFile(const QString &name)
{
    return URLFactory::fileURL(URLFactory::getBookURL().value(), name);
}

using FileServiceTest = PenTest;

} // namespace

TEST_F(FileServiceTest, LinesHaveNoEmptyOnes)
{
    pen.write(u"book/a.txt"_s, "a\r\n\r\nb\n \n\v\t\n");
    EXPECT_EQ(FileService::getFileLines(bookFile(u"a.txt"_s)),
              QStringList({u"a"_s, u"b"_s, u" "_s, u"\t"_s}));
}

TEST_F(FileServiceTest, WritesInPlaceOrTellsThatItCannot)
{
    EXPECT_TRUE(FileService::writeFile(u"something long"_s, bookFile(u"a.txt"_s)));
    std::filesystem::create_hard_link(pen.path(u"book/a.txt"_s).toStdString(),
                                      pen.path(u"twin"_s).toStdString());
    EXPECT_TRUE(FileService::writeFile(u"Bär\n"_s, bookFile(u"a.txt"_s)));
    EXPECT_EQ(pen.read(u"book/a.txt"_s), "Bär\n");
    EXPECT_EQ(pen.read(u"twin"_s), "Bär\n");
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"a.txt"_s));
    const QUrl url = bookFile(u"a.txt"_s);
    pen.remove(u"book"_s);
    EXPECT_FALSE(FileService::writeFile(u"x"_s, url));
}

TEST_F(FileServiceTest, ListsNewestFirst)
{
    auto time = std::filesystem::file_time_type::clock::now();
    for (const QString &name : {u".z.txt"_s, u"z.TXT"_s, u"y.txt"_s, u"w.png"_s, u"a.txt.bak"_s}) {
        pen.write(u"book/"_s + name, "x");
        std::filesystem::last_write_time(pen.path(u"book/"_s + name).toStdString(), time -= 1us);
    }
    const QUrl folder = URLFactory::getBookURL().value();
    EXPECT_EQ(FileService::listFiles(folder, u".txt"_s), QStringList({u"y.txt"_s, u"a.txt.bak"_s}));
    EXPECT_EQ(FileService::listFiles(folder, QString()),
              QStringList({u"z.TXT"_s, u"y.txt"_s, u"w.png"_s, u"a.txt.bak"_s}));
    pen.remove(u"book"_s);
    EXPECT_EQ(FileService::listFiles(folder, u".txt"_s), QStringList());
}

TEST_F(FileServiceTest, DeletesFilesAndTellsWhenOneStays)
{
    for (const QString &name : {u"00042_en.txt"_s, u"00042_en.png"_s, u"00042_en.qnk"_s,
                                u"00042_de.txt"_s, u"042_en.txt"_s})
        pen.write(u"book/"_s + name, "x");
    for (const QString &mid : {u"/../../configure/settings.ini"_s, u"/../x"_s, u"\n"_s})
        EXPECT_TRUE(FileService::deleteFiles(mid)) << "names no title";
    // The book folder can be seen, and nothing be removed, not even by root.
    const QFile::Permissions locked(0x5555);
    const QString book = pen.path(u"book"_s);
    EXPECT_TRUE(QFile::setPermissions(pen.volumes() + u"/.."_s, locked | QFile::WriteOwner)
                && QFile::setPermissions(book, locked));
    setfsuid(geteuid() == 0 ? 65534 : geteuid());
    EXPECT_FALSE(FileService::deleteFiles(u"0042"_s));
    setfsuid(geteuid());
    EXPECT_TRUE(QFile::setPermissions(book, locked | QFile::WriteOwner));
    EXPECT_EQ(pen.names(u"book"_s).size(), 5);
    EXPECT_TRUE(FileService::deleteFiles(u"0042"_s));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u"00042_de.txt"_s, u"042_en.txt"_s}));
    EXPECT_TRUE(FileService::deleteFiles(u"42"_s));
    EXPECT_TRUE(FileService::deleteFiles(u"42"_s)) << "nothing was left";
    EXPECT_TRUE(FileService::deleteFile(pen.volumePath(u"book/00042_de.txt"_s)));
    EXPECT_FALSE(FileService::deleteFile(pen.volumePath(u"book/00042_de.txt"_s)));
    EXPECT_EQ(pen.names(u"book"_s), QStringList());
    EXPECT_TRUE(pen.exists(u"configure/settings.ini"_s));
}

TEST_F(FileServiceTest, RemovesHiddenItemsAtTheRootOfAConnectedPenOnly)
{
    for (const QString &name :
         {u".Trashes/501/deep"_s, u"._x"_s, u"visible.txt"_s, u"book/.hidden"_s})
        pen.write(name, "x");
    pen.write(u"configure/settings.ini"_s, "\n"); // one character is enough
    FileService::removeHiddenItems();
    EXPECT_EQ(pen.names(QString()),
              QStringList({u"book"_s, u"configure"_s, u"mp3"_s, u"visible.txt"_s}));
    EXPECT_TRUE(pen.exists(u"book/.hidden"_s));

    pen.write(u".x"_s, "x");
    pen.write(u"configure/settings.ini"_s, "");
    FileService::removeHiddenItems();
    EXPECT_TRUE(pen.exists(u".x"_s));
}

TEST_F(FileServiceTest, ThePenIsKnownByTheWholeNameOfItsVolumeAsSpelledInTheAddress)
{
    const QList<std::pair<QString, std::optional<QString>>> rows = {
        {u"QUILLO"_s, u"QUILLO"_s},     {u"QUILLO_DATA"_s, u"QUILLO_DATA"_s},
        {u"NO NAME"_s, u"NO%20NAME"_s}, {u"NO%20NAME"_s, u"NO%2520NAME"_s},
        {u"quillo"_s, std::nullopt},    {u"QUILLO 1"_s, std::nullopt},
    };
    pen.pullOut();
    for (const auto &[name, spelled] : rows) {
        SCOPED_TRACE(name.toStdString());
        ASSERT_TRUE(QDir(pen.volumes()).mkdir(name));
        EXPECT_TRUE(UsbService::canDeviceNameBeQuillo(name));
        EXPECT_EQ(URLFactory::getQuilloURL().value_or(QUrl()).toString(QUrl::FullyEncoded),
                  spelled ? u"file:///Volumes/"_s + *spelled + u'/' : QString());
        EXPECT_EQ(UsbService::getQuilloName(), spelled);
        EXPECT_EQ(UsbService::isMounted(spelled.value_or(QString())), spelled.has_value());
        EXPECT_FALSE(UsbService::isMounted(name.mid(1)));
        ASSERT_TRUE(QDir(pen.volumes()).rmdir(name));
    }
    EXPECT_EQ(URLFactory::url(u"0042"_s, FileType::qnk), std::nullopt);
    for (const QString &name : {u"QUILL"_s, u"NONAME"_s, u""_s, u"QUI LLO"_s})
        EXPECT_FALSE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
}

TEST_F(FileServiceTest, FilesKeepTheirNames)
{
    EXPECT_EQ(URLFactory::url(u"123"_s, FileType::png), bookFile(u"0123_en.png"_s));
    for (const QString &name : {u"a%20b.txt"_s, u"ä#1?.png"_s, u"100%.qnk"_s, u" x "_s})
        EXPECT_EQ(pathOf(bookFile(name)), u"/Volumes/QUILLO/book/"_s + name);
}
