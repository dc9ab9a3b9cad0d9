#include "platform/IncomingFile.h"
#include "tests/support/FuseMedium.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

class Taking : public PenTest
{
protected:
    /// One after another, under one name.
    void expectTakes(const QByteArrayList &contents) const
    {
        for (const QByteArray &content : contents) {
            IncomingFile file(pen.volumePath(u"book/target.qnk"_s));
            EXPECT_FALSE(file.begin(content.size()));
            EXPECT_FALSE(file.append(content.constData(), content.size()));
            EXPECT_FALSE(file.place({}));
            EXPECT_EQ(pen.read(u"book/target.qnk"_s), content);
        }
        EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    }
};

class Medium : public Taking, public testing::WithParamInterface<FuseMedium::Kind>
{
protected:
    void SetUp() override
    {
        if (!medium.isAvailable())
            GTEST_SKIP() << qPrintable(medium.reason());
    }

    [[nodiscard]] QByteArray path(const QString &name) const
    {
        return QFile::encodeName(pen.path(name));
    }

    FuseMedium medium{pen.root(), GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Kinds, Medium,
                         testing::Values(FuseMedium::Kind::Fat, FuseMedium::Kind::FatWriteBack));

/// The program's output when it failed; empty on success.
QString failureOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(10'000) && process.exitCode() == 0;
    return ended ? QString() : program + u": "_s + QString::fromLocal8Bit(process.readAll());
}

/// The pen on a FAT image, which "fusefat" mounts. That program is sound for a few files that are
/// made, written once, flushed, renamed and removed.
class FatImage : public Taking
{
protected:
    void SetUp() override
    {
        QFile image(m_image);
        ASSERT_TRUE(image.open(QFile::WriteOnly) && image.resize(64 * 1024 * 1024));
        const QString path = qEnvironmentVariable("PATH") + u":/usr/sbin:/sbin"_s;
        m_checker = QStandardPaths::findExecutable(u"fsck.fat"_s, path.split(u':'));
        const QString made =
            failureOf(QStandardPaths::findExecutable(u"mkfs.fat"_s, path.split(u':')), {m_image});
        if (!made.isEmpty() || !failureOf(u"fusefat"_s, mountArguments()).isEmpty())
            GTEST_SKIP() << "no FAT image without FUSE, fusefat and dosfstools";
        ASSERT_TRUE(QTest::qWaitFor(
            [this] { return QStorageInfo(pen.root()).fileSystemType().startsWith("fuse"); }));
        ASSERT_TRUE(QDir(pen.root()).mkdir(u"book"_s));
    }
    ~FatImage() override { failureOf(u"fusermount3"_s, {u"-uz"_s, pen.root()}); }

    [[nodiscard]] QStringList mountArguments() const
    {
        return {u"-o"_s, u"rw+,nonempty"_s, m_image, pen.root()};
    }

    /// Takes the image away in good order; what is wrong with it.
    [[nodiscard]] QString faults() const
    {
        const QString busy = failureOf(u"fusermount3"_s, {u"-u"_s, pen.root()});
        return busy.isEmpty() ? failureOf(m_checker, {u"-n"_s, m_image}) : busy;
    }

    QString m_checker;

private:
    QTemporaryDir m_folder;
    const QString m_image = m_folder.filePath(u"image"_s);
};

} // namespace

// What tests of placement rely on: the medium behaves as it says.
TEST_P(Medium, KeepsFilesByTheRulesOfFat)
{
    const QByteArray data(3'000'000, 'n');
    pen.write(u"title"_s, "old");
    pen.write(u".part"_s, data);
    EXPECT_EQ(::rename(path(u".part"_s).constData(), path(u"title"_s).constData()), 0);
    EXPECT_TRUE(pen.read(u"title"_s) == data);
    EXPECT_FALSE(QFile(pen.path(u"a:b"_s)).open(QFile::WriteOnly));
    EXPECT_NE(::symlink("title", path(u"link"_s).constData()), 0);
    EXPECT_NE(::chmod(path(u"title"_s).constData(), 0600), 0);
    EXPECT_NE(::truncate(path(u"title"_s).constData(), off_t(1) << 32), 0);
    struct stat status = {};
    EXPECT_EQ(::stat(path(u"title"_s).constData(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_nsec, 0);
    EXPECT_EQ(pen.names(QString()), QStringList({u"book"_s, u"configure"_s, u"mp3"_s, u"title"_s}));
}

TEST_P(Medium, TakesTheWholeNewFileForTheOldOne)
{
    expectTakes({QByteArray(6000, 'o'), QByteArray(9'000'000, 'n')});
}

TEST_F(FatImage, TakesAFileAndTheOneThatReplacesIt)
{
    expectTakes({"old", QByteArray(3'000'000, 'n')});
    EXPECT_EQ(faults(), QString());
}
