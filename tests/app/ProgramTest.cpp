#include "tests/app/AppFixture.h"

#include "platform/TerminationSignals.h"

#include <QProcess>
#include <QSignalSpy>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

/// The program itself, as a process of its own.
class ProgramTest : public PenAppTest
{
protected:
    void start(const QStringList &arguments)
    {
        process.start(QStringLiteral(QUILLO_PROGRAM), arguments);
        ASSERT_TRUE(process.waitForStarted());
    }

    void startRunning()
    {
        start({u"--volumes"_s, pen.volumes(), u"--config"_s, configuration});
        ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s)) << process.readAllStandardError().data();
    }

    /// Whether a signal reaches the program; before it has got round to that, any is its end.
    [[nodiscard]] bool catchesSignals() const
    {
        QFile status(u"/proc/%1/status"_s.arg(process.processId()));
        const QByteArray text = status.open(QIODevice::ReadOnly) ? status.readAll() : QByteArray();
        const qsizetype caught = text.indexOf("SigCgt:");
        return (text.mid(caught + 7, 18).trimmed().toULongLong(nullptr, 16) >> (SIGTERM - 1)) & 1;
    }

    QProcess process;
};

TEST_F(ProgramTest, FindsThePenAndEndsWithSuccessWhenAsked)
{
    for (const int signal : {SIGINT, SIGTERM}) {
        removeLog();
        startRunning();
        EXPECT_EQ(logLines({u"viewDidLoad isQuilloAvailable"_s}),
                  QStringList{u"viewDidLoad isQuilloAvailable: true"_s});
        ASSERT_EQ(::kill(static_cast<pid_t>(process.processId()), signal), 0);
        ASSERT_TRUE(process.waitForFinished(10'000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process.exitCode(), 0);
    }
}

TEST_F(ProgramTest, EndsWithSuccessDuringTheSplash)
{
    start({u"--volumes"_s, pen.volumes(), u"--config"_s, configuration});
    ASSERT_TRUE(QTest::qWaitFor([this] { return catchesSignals(); }));
    process.terminate();
    ASSERT_TRUE(process.waitForFinished(10'000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(logLines({u"viewDidLoad"_s}).isEmpty());
}

TEST_F(ProgramTest, WrongFolderIsToldOnStandardError)
{
    start({u"--volumes"_s, u"/no/such/place"_s});
    ASSERT_TRUE(process.waitForFinished(10'000));
    EXPECT_EQ(process.exitCode(), 2);
    EXPECT_EQ(process.readAllStandardError(), "quillo: '/no/such/place' is no folder.\n");
    EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
}

TEST_F(ProgramTest, HelpNeedsNoDisplay)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"none-such"_s);
    process.setProcessEnvironment(environment);
    start({u"--help"_s});
    ASSERT_TRUE(process.waitForFinished(10'000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardOutput().startsWith("Usage: "));
}

TEST(TerminationSignals, ArriveInTheEventLoop)
{
    TerminationSignals signalsOfTheSystem;
    QSignalSpy requested(&signalsOfTheSystem, &TerminationSignals::requested);
    std::raise(SIGTERM);
    EXPECT_TRUE(requested.isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return requested.count() == 1; }));
    std::raise(SIGINT);
    EXPECT_TRUE(QTest::qWaitFor([&] { return requested.count() == 2; }));
}

} // namespace
