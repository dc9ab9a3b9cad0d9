#include "tests/support/FuseMedium.h"

#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// What tests of placement rely on: the medium behaves as it says.

namespace {

constexpr qint64 megabyte = 1'000'000;

class Medium : public testing::Test
{
protected:
    [[nodiscard]] QByteArray path(const QString &name) const
    {
        return QFile::encodeName(m_folder.filePath(name));
    }

    /// Writes, flushes and closes; the errno value of what failed first, else 0.
    int write(const QString &name, const QByteArray &data)
    {
        const int file = ::open(path(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (file < 0)
            return errno;
        qsizetype done = 0;
        int error = 0;
        while (error == 0 && done < data.size()) {
            const ssize_t count = ::pwrite(file, data.constData() + done,
                                           static_cast<size_t>(data.size() - done), done);
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
