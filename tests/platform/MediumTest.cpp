#include "tests/support/FuseMedium.h"

#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// What tests of placement rely on: the medium behaves as it says.

namespace {

constexpr qint64 megabyte = 1'000'000;
constexpr off_t longestFatFile = 0xffffffff;

class Medium : public testing::Test
{
protected:
    [[nodiscard]] QByteArray path(const QString &name) const
    {
        return QFile::encodeName(m_folder.filePath(name));
    }

    /// Writes, flushes and closes; the errno value of what failed first, else 0.
    int write(const QString &name, const QByteArray &data, off_t offset = 0)
    {
        const int file = ::open(path(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (file < 0)
            return errno;
        qsizetype done = 0;
        int error = 0;
        while (error == 0 && done < data.size()) {
            const ssize_t count = ::pwrite(file, data.constData() + done,
                                           static_cast<size_t>(data.size() - done), offset + done);
            done += count < 0 ? 0 : count;
            error = count < 0 ? errno : 0;
        }
        if (error == 0 && ::fsync(file) != 0)
            error = errno;
        return ::close(file) == 0 || error != 0 ? error : errno;
    }

    [[nodiscard]] QByteArray read(const QString &name) const
    {
        QFile file(QFile::decodeName(path(name)));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    int rename(const QString &from, const QString &to)
    {
        return ::rename(path(from).constData(), path(to).constData()) == 0 ? 0 : errno;
    }

    [[nodiscard]] qint64 room() const
    {
        struct statvfs space = {};
        EXPECT_EQ(::statvfs(path(u"."_s).constData(), &space), 0);
        return static_cast<qint64>(space.f_bavail * space.f_frsize);
    }

    QTemporaryDir m_folder;
};

struct KindRow
{
    const char *name;
    FuseMedium::Kind kind;
};

} // namespace

TEST_F(Medium, KeepsFilesByTheRulesOfFat)
{
    const auto check = [this](const KindRow &row) {
        ASSERT_EQ(write(u"settings.ini"_s, "there before"), 0);
        FuseMedium medium(m_folder.path(), row.kind);
        if (!medium.isAvailable())
            GTEST_SKIP() << qPrintable(medium.reason());
        EXPECT_EQ(read(u"Settings.INI"_s), "there before");
        const QByteArray data(3 * megabyte, 'n');
        EXPECT_EQ(write(u"title"_s, QByteArray(megabyte, 'o')), 0);
        EXPECT_EQ(write(u".part"_s, data), 0);
        EXPECT_EQ(rename(u".part"_s, u"title"_s), 0);
        EXPECT_TRUE(read(u"title"_s) == data);
        EXPECT_NE(write(u"a:b"_s, "x"), 0);
        EXPECT_NE(::symlink("title", path(u"link"_s).constData()), 0);
        EXPECT_NE(::chmod(path(u"title"_s).constData(), 0600), 0);
        struct stat status = {};
        EXPECT_EQ(::stat(path(u"title"_s).constData(), &status), 0);
        EXPECT_EQ(status.st_mtim.tv_nsec, 0);
        EXPECT_TRUE(status.st_mtim.tv_sec % 2 == 0 || row.kind == FuseMedium::Kind::FatWriteBack);
        EXPECT_EQ(QDir(m_folder.path()).entryList(QDir::Files | QDir::Hidden),
                  QStringList({u"settings.ini"_s, u"title"_s}));
        if (row.kind == FuseMedium::Kind::FatImage) {
            EXPECT_EQ(medium.faultsOfImage(), QString());
        }
    };
    forEachRow<KindRow>({{"at once", FuseMedium::Kind::Fat},
                         {"written back", FuseMedium::Kind::FatWriteBack},
                         {"image", FuseMedium::Kind::FatImage}},
                        check);
}

TEST_F(Medium, EndsFilesAtFourGigabytesAndAtItsCapacity)
{
    FuseMedium medium(m_folder.path());
    if (!medium.isAvailable())
        GTEST_SKIP() << qPrintable(medium.reason());
    EXPECT_EQ(write(u"long"_s, "12345678", longestFatFile - 5), EFBIG);
    EXPECT_EQ(QFile(QFile::decodeName(path(u"long"_s))).size(), longestFatFile);
    EXPECT_EQ(::truncate(path(u"long"_s).constData(), longestFatFile + 1), -1);
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(::unlink(path(u"long"_s).constData()), 0);

    medium.setCapacity(409'600);
    EXPECT_EQ(room(), 409'600);
    EXPECT_EQ(write(u"old"_s, QByteArray(100'000, 'o')), 0);
    EXPECT_EQ(write(u"new"_s, QByteArray(400'000, 'n')), ENOSPC);
    EXPECT_EQ(room(), 0);
    EXPECT_EQ(rename(u"new"_s, u"old"_s), 0);
    EXPECT_EQ(room(), 102'400); // of whole clusters
    medium.tellSpace(0, 0);
    EXPECT_EQ(room(), 0);
    EXPECT_EQ(write(u"more"_s, QByteArray(100'000, 'm')), 0);
}

TEST_F(Medium, FailsAsItIsTold)
{
    const auto check = [this](const KindRow &row) {
        FuseMedium medium(m_folder.path(), row.kind);
        if (!medium.isAvailable())
            GTEST_SKIP() << qPrintable(medium.reason());
        medium.failWritesAfter(megabyte, EIO);
        EXPECT_EQ(write(u"a"_s, QByteArray(2 * megabyte, 'a')), EIO);
        EXPECT_EQ(medium.written(), megabyte);
        medium.heal();
        medium.failFlushes(ENOSPC);
        EXPECT_EQ(write(u"b"_s, "b"), ENOSPC);
        EXPECT_GT(medium.flushes(), 0);
        medium.heal();
        medium.setBytesPerSecond(10 * megabyte);
        QElapsedTimer time;
        time.start();
        EXPECT_EQ(write(u"c"_s, QByteArray(2 * megabyte, 'c')), 0);
        EXPECT_GE(time.elapsed(), 190);
        const qint64 before = medium.written();
        medium.dieAfter(megabyte);
        EXPECT_NE(write(u"d"_s, QByteArray(2 * megabyte, 'd')), 0);
        EXPECT_EQ(write(u"e"_s, "e"), ENOTCONN);
        medium.pull();
        EXPECT_EQ(read(u"c"_s).size(), 2 * megabyte);
        EXPECT_EQ(medium.written(), before + megabyte);
    };
    forEachRow<KindRow>(
        {{"at once", FuseMedium::Kind::Fat}, {"written back", FuseMedium::Kind::FatWriteBack}},
        check);
}
