#include "platform/FileManager.h"

#include "tests/support/PenTest.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

using HiddenFiles = FileManager::HiddenFiles;
using WriteMode = FileManager::WriteMode;

constexpr auto secret = "not on the pen";

/// A plugged pen beside a folder that is none of the program's business.
class FileManagerTest : public PenTest
{
protected:
    void SetUp() override
    {
        QFile file(outside.filePath(u"secret.txt"_s));
        ASSERT_TRUE(file.open(QFile::WriteOnly) && file.write(secret) > 0);
    }

    [[nodiscard]] bool isSecretUntouched() const
    {
        QFile file(outside.filePath(u"secret.txt"_s));
        return file.open(QFile::ReadOnly) && file.readAll() == secret
               && QDir(outside.path()).count() == 3; // with "." and ".."
    }

    QTemporaryDir outside;
};

} // namespace

TEST_F(FileManagerTest, AwkwardNamesAreWrittenReadListedMovedAndRemoved)
{
    const QString book = pen.volumePath(u"book"_s);
    for (const QString &name : {u"  a  b "_s, u"Grüße €.txt"_s, u"a#b?c"_s, u"100%20%"_s,
                                u"a..b..."_s, u"a\\b"_s, u"a\nb"_s}) {
        SCOPED_TRACE(name.toStdString());
        const QString path = book + u'/' + name;
        for (const WriteMode mode : {WriteMode::InPlace, WriteMode::Atomic}) {
            EXPECT_TRUE(FileManager::write(path, "text", mode));
            EXPECT_EQ(pen.read(u"book/"_s + name), "text");
            EXPECT_TRUE(FileManager::fileExists(path));
            const auto entries = FileManager::contentsOfDirectory(book, HiddenFiles::Skip);
            ASSERT_EQ(entries.value().size(), 1);
            EXPECT_EQ(entries->constFirst().name, name);
            EXPECT_TRUE(FileManager::removeItem(path));
        }
    }
}

TEST_F(FileManagerTest, EscapesNameNothing)
{
    const QString up = QDir(pen.root()).relativeFilePath(outside.path());
    ASSERT_TRUE(QFile::link(outside.path(), pen.path(u"absolute"_s)));
    ASSERT_TRUE(QFile::link(up, pen.path(u"relative"_s)));
    ASSERT_TRUE(QFile::link(u"absolute"_s, pen.path(u"chained"_s)));
    ASSERT_TRUE(QFile::link(outside.filePath(u"secret.txt"_s), pen.path(u"last.txt"_s)));
    ASSERT_TRUE(QFile::link(outside.filePath(u"new.txt"_s), pen.path(u"new.txt"_s)));
    ASSERT_TRUE(QFile::link(u"configure/settings.ini"_s, pen.path(u"inside.txt"_s)));
    QFile beside(pen.volumes() + u"/QUILLO.txt"_s);
    ASSERT_TRUE(beside.open(QFile::WriteOnly) && beside.write(secret) > 0);
    for (const QString &path :
         {u"/Volumes/QUILLO/../QUILLO.txt"_s, u"/Volumes/QUILLO/book/../configure/settings.ini"_s,
          u"/Volumes/QUILLO/book/.."_s, u"/Volumes/../QUILLO/configure/settings.ini"_s,
          u"/Volumes/QUILLO/configure/settings.ini"_s + QChar(0) + u'x',
          u"/Volumes/QUILLO/absolute/secret.txt"_s, u"/Volumes/QUILLO/relative/secret.txt"_s,
          u"/Volumes/QUILLO/chained/secret.txt"_s, u"/Volumes/QUILLO/absolute"_s,
          u"/Volumes/QUILLO/absolute/"_s, u"/Volumes/QUILLO/last.txt"_s,
          u"/Volumes/QUILLO/new.txt"_s, u"/Volumes/QUILLO/inside.txt"_s,
          u"/Volumes/OTHER/secret.txt"_s, u"/Volumes/quillo/configure/settings.ini"_s,
          u"/Volumes/"_s, QString()}) {
        SCOPED_TRACE(path.toStdString());
        EXPECT_FALSE(FileManager::fileExists(path) || FileManager::realPath(path));
        const FileManager::Contents contents = FileManager::contents(path);
        EXPECT_FALSE(contents.data || contents.error.isEmpty());
        EXPECT_FALSE(FileManager::contentsOfDirectory(path, HiddenFiles::Include));
        EXPECT_FALSE(FileManager::write(path, "x", WriteMode::InPlace));
        EXPECT_TRUE(isSecretUntouched());
    }
}

TEST_F(FileManagerTest, FollowsLinksOnTheVolumeAndReplacesOthersButNotWhatTheyPointTo)
{
    ASSERT_TRUE(QFile::link(outside.filePath(u"secret.txt"_s), pen.path(u"last.txt"_s)));
    EXPECT_TRUE(FileManager::write(pen.volumePath(u"last.txt"_s), "x", WriteMode::Atomic));
    EXPECT_EQ(pen.read(u"last.txt"_s), "x");
    for (const QString &removed : {u"book/away"_s, u"book"_s}) {
        ASSERT_TRUE(QFile::link(outside.path(), pen.path(u"book/away"_s)));
        EXPECT_TRUE(FileManager::removeItem(pen.volumePath(removed)));
        EXPECT_FALSE(pen.exists(removed));
    }
    EXPECT_TRUE(isSecretUntouched());

    EXPECT_EQ(FileManager::realPath(pen.volumePath(u"mp3/a b.mp3"_s)), pen.path(u"mp3/a b.mp3"_s));
    EXPECT_EQ(FileManager::realPath(outside.path()), outside.path());
    ASSERT_TRUE(QFile::link(u"configure"_s, pen.path(u"relative"_s)));
    ASSERT_TRUE(QFile::link(pen.path(u"configure"_s), pen.path(u"absolute"_s)));
    for (const QString &folder : {u"relative"_s, u"absolute"_s})
        EXPECT_TRUE(FileManager::fileExists(pen.volumePath(folder + u"/settings.ini"_s)));

    const PenFolder real(u"REAL"_s);
    ASSERT_TRUE(QFile::link(real.root(), pen.volumes() + u"/LINKED"_s));
    const QString path = u"/Volumes/LINKED/book/a.txt"_s;
    EXPECT_TRUE(FileManager::write(path, "text", WriteMode::Atomic));
    EXPECT_EQ(real.read(u"book/a.txt"_s), "text");
    EXPECT_EQ(FileManager::realPath(path), pen.volumes() + u"/LINKED/book/a.txt"_s);
}

TEST_F(FileManagerTest, ReadsRegularFilesOnlyNoMoreThanItsLimitAndNeverWaits)
{
    const QByteArray bytes = QByteArray("0123456789x").repeated(7000);
    for (const auto &[length, limit] :
         {std::pair(0, -1), {0, 10}, {70'000, -1}, {4096, 4096}, {70'000, 4096}, {100, 0}}) {
        pen.write(u"a"_s, bytes.first(length));
        const auto contents = FileManager::contents(pen.volumePath(u"a"_s), limit);
        ASSERT_TRUE(contents.data && !contents.data->isNull());
        EXPECT_TRUE(*contents.data == bytes.first(limit < 0 ? length : std::min(length, limit)));
        EXPECT_EQ(contents.stamp.size, length);
        EXPECT_TRUE(contents.error.isEmpty());
    }
    const QByteArray name = QFile::encodeName(pen.path(u"a"_s));
    ASSERT_EQ(::truncate(name.constData(), off_t(1) << 40), 0); // which cannot be true
    EXPECT_FALSE(FileManager::contents(pen.volumePath(u"a"_s)).data);
    EXPECT_EQ(FileManager::contents(pen.volumePath(u"a"_s), 2).data, "01");
    const auto untold = FileManager::contents(u"/proc/self/status"_s); // of no length
    EXPECT_TRUE(untold.data && untold.data->contains("VmSize"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(pen.path(u"pipe"_s)).constData(), 0600), 0);
    for (const QString &item : {u"pipe"_s, u"book"_s, QString(), u"missing"_s, u"no/where"_s}) {
        const auto contents = FileManager::contents(pen.volumePath(item));
        EXPECT_FALSE(contents.data || contents.error.isEmpty()) << qPrintable(item);
    }
    EXPECT_FALSE(FileManager::write(pen.volumePath(u"pipe"_s), "x", WriteMode::InPlace));
}

TEST_F(FileManagerTest, WritesInPlaceOrThroughANeighbourButMakesNoFolders)
{
    pen.write(u"a.txt"_s, "a much longer text");
    std::filesystem::create_hard_link(pen.path(u"a.txt"_s).toStdString(),
                                      pen.path(u"twin"_s).toStdString());
    for (const auto &[mode, text] :
         {std::pair(WriteMode::InPlace, "in"), {WriteMode::Atomic, "at"}}) {
        EXPECT_TRUE(FileManager::write(pen.volumePath(u"a.txt"_s), text, mode));
        EXPECT_EQ(pen.read(u"a.txt"_s), text);
        EXPECT_EQ(pen.read(u"twin"_s), "in");
        EXPECT_FALSE(FileManager::write(pen.volumePath(u"new/a.txt"_s), "x", mode));
    }
    EXPECT_EQ(pen.names(QString()),
              QStringList({u"a.txt"_s, u"book"_s, u"configure"_s, u"mp3"_s, u"twin"_s}));
}

TEST_F(FileManagerTest, SweepsLeftNeighboursAndRemovesFilesAndFoldersButNeverTheVolume)
{
    for (const QString &name : {u".quillo-part-a.qnk"_s, u".quillo-part-"_s, u".quillo-partial"_s,
                                u"quillo-part-a"_s, u"deep/er/a.qnk"_s})
        pen.write(u"book/"_s + name, "x");
    ASSERT_TRUE(QDir(pen.path(u"book"_s)).mkdir(u".quillo-part-folder"_s));
    for (const QString &folder : {u"book"_s, u"missing"_s})
        FileManager::removeLeftovers(pen.volumePath(folder));
    EXPECT_EQ(pen.names(u"book"_s), QStringList({u".quillo-part-folder"_s, u".quillo-partial"_s,
                                                 u"deep"_s, u"quillo-part-a"_s}));
    EXPECT_TRUE(FileManager::removeItem(pen.volumePath(u"book/"_s)));
    EXPECT_FALSE(pen.exists(u"book"_s));
    EXPECT_FALSE(FileManager::removeItem(pen.volumePath(u"book"_s)));
    for (const QString &root : {u"/Volumes/QUILLO"_s, u"/Volumes/QUILLO/"_s, u"/Volumes/QUILLO/."_s,
                                u"/Volumes/QUILLO//"_s})
        EXPECT_FALSE(FileManager::removeItem(root)) << qPrintable(root);
    EXPECT_EQ(pen.names(QString()), QStringList({u"configure"_s, u"mp3"_s}));
}
