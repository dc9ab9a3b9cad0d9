#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class HeadlessDemo : public testing::Test
{
protected:
    void start(const QString &titles)
    {
        m_demo.start(QStringLiteral(QUILLO_DEMO),
                     {u"--headless"_s, u"--titles"_s, titles, u"--pictures"_s, m_results.path(),
                      u"--pen"_s, m_results.filePath(titles)});
        ASSERT_TRUE(m_demo.waitForStarted());
    }

    /// All that it said on standard output.
    QByteArray said()
    {
        EXPECT_TRUE(m_demo.waitForFinished(60'000));
        EXPECT_EQ(m_demo.exitStatus(), QProcess::NormalExit);
        const QByteArray text = m_demo.readAllStandardOutput();
        EXPECT_LT(text.count('\n'), 60);
        EXPECT_TRUE(text.contains(programOutput().toUtf8()));
        return text;
    }

    [[nodiscard]] QString programOutput() const
    {
        return m_results.filePath(u"program-output.txt"_s);
    }

    QTemporaryDir m_results;
    QProcess m_demo;
};

} // namespace

// The demo judges itself: it compares the pen byte for byte with what its servers hold.
TEST_F(HeadlessDemo, BringsTheWholePenUpToDate)
{
    start(u"24"_s);
    const QByteArray summary = said();
    EXPECT_EQ(m_demo.exitCode(), 0) << summary.constData();
    EXPECT_TRUE(summary.contains("Placed on the pen (11 files):")) << summary.constData();
    EXPECT_FALSE(summary.contains("Without what it should show")) << summary.constData();
    EXPECT_EQ(QDir(m_results.path()).entryList({u"*.png"_s}).size(), 8);
    QFile output(programOutput());
    ASSERT_TRUE(output.open(QFile::ReadOnly));
    EXPECT_GT(output.readAll().count("FilePath: "), 100);
}

TEST_F(HeadlessDemo, EndedEarlyIsNoSuccess)
{
    const auto endOnce = [this](const QString &titles, const QString &begun, int signal) {
        SCOPED_TRACE(begun.toStdString());
        start(titles);
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return QFile(begun).size() > 0 || !QDir(begun).isEmpty(); }, 20'000));
        ASSERT_EQ(::kill(static_cast<pid_t>(m_demo.processId()), signal), 0);
        QByteArray told = said();
        told += m_demo.readAllStandardError();
        EXPECT_TRUE(told.contains("Ended early")) << told.constData();
        EXPECT_EQ(m_demo.exitCode(), 1);
        EXPECT_TRUE(QFile::remove(programOutput()));
    };
    endOnce(u"8"_s, programOutput(), SIGINT);
    endOnce(u"10000"_s, m_results.filePath(u"10000/book"_s), SIGTERM);
}
