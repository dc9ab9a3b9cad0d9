#include "platform/IncomingFile.h"

#include "tests/support/PenTest.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStorageInfo>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

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
class FatImage : public PenTest
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

TEST_F(FatImage, TakesAFileAndTheOneThatReplacesIt)
{
    const QString path = pen.volumePath(u"book/target.qnk"_s);
    for (const QByteArray &content : {QByteArray("old"), QByteArray(3'000'000, 'n')}) {
        IncomingFile file(path);
        EXPECT_FALSE(file.begin(content.size()));
        EXPECT_FALSE(file.append(content.constData(), content.size()));
        EXPECT_FALSE(file.place({}));
        EXPECT_EQ(pen.read(u"book/target.qnk"_s), content);
    }
    EXPECT_EQ(pen.names(u"book"_s), QStringList(u"target.qnk"_s));
    EXPECT_EQ(faults(), QString());
}
