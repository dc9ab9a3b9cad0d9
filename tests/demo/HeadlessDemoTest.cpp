#include <QDir>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// The demo judges itself: it compares the pen byte for byte with what its servers hold.
TEST(HeadlessDemo, BringsTheWholePenUpToDate)
{
    const QTemporaryDir pictures;
    QProcess demo;
    demo.start(QStringLiteral(QUILLO_DEMO),
               {u"--headless"_s, u"--titles"_s, u"8"_s, u"--pictures"_s, pictures.path()});
    ASSERT_TRUE(demo.waitForFinished(60'000));
    const QByteArray summary = demo.readAllStandardOutput();
    EXPECT_EQ(demo.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(demo.exitCode(), 0) << summary.constData();
    EXPECT_TRUE(summary.contains("Placed on the pen (11 files):"));
    EXPECT_EQ(QDir(pictures.path()).entryList(QDir::Files).size(), 6);
}
