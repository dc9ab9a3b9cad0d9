#include "app/CommandLine.h"
#include "app/FlowController.h"

#include "tests/app/AppFixture.h"
#include "tests/support/Rows.h"

#include "platform/SystemVolumes.h"
#include "platform/TerminationSignals.h"

#include <QApplication>
#include <QProcess>
#include <QScreen>
#include <QSignalSpy>
#include <QTimer>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

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

    [[nodiscard]] int exitCode()
    {
        EXPECT_TRUE(process.waitForFinished(60'000));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return process.exitCode();
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
        start({u"--volumes"_s, pen.volumes(), u"--config"_s, configuration});
        ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s)) << process.readAllStandardError().data();
        EXPECT_EQ(logLines({u"viewDidLoad isQuilloAvailable"_s}),
                  QStringList{u"viewDidLoad isQuilloAvailable: true"_s});
        ASSERT_EQ(::kill(static_cast<pid_t>(process.processId()), signal), 0);
        EXPECT_EQ(exitCode(), 0);
    }
}

TEST_F(ProgramTest, EndsWithSuccessDuringTheSplash)
{
    start({u"--volumes"_s, pen.volumes(), u"--config"_s, configuration});
    ASSERT_TRUE(QTest::qWaitFor([this] { return catchesSignals(); }));
    process.terminate();
    EXPECT_EQ(exitCode(), 0);
    EXPECT_TRUE(logLines({u"viewDidLoad"_s}).isEmpty());
}

TEST_F(ProgramTest, TellsMistakesAndHelpWithoutADisplay)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"QT_QPA_PLATFORM"_s, u"none-such"_s);
    process.setProcessEnvironment(environment);
    start({u"--volumes"_s, u"/no/such/place"_s});
    EXPECT_EQ(exitCode(), 2);
    EXPECT_EQ(process.readAllStandardError(), "quillo: '/no/such/place' is no folder.\n");
    EXPECT_TRUE(process.readAllStandardOutput().isEmpty());
    start({u"--help"_s});
    EXPECT_EQ(exitCode(), 0);
    EXPECT_TRUE(process.readAllStandardOutput().startsWith("Usage: "));
}

TEST(TerminationSignals, ArriveInTheEventLoop)
{
    TerminationSignals signalsOfTheSystem;
    QSignalSpy requested(&signalsOfTheSystem, &TerminationSignals::requested);
    for (const int signal : {SIGTERM, SIGINT}) {
        std::raise(signal);
        EXPECT_TRUE(requested.isEmpty());
        ASSERT_TRUE(QTest::qWaitFor([&] { return requested.count() == 1; }));
        requested.clear();
    }
}

using FlowControllerTest = AppTest;

TEST_F(FlowControllerTest, MainWindowFollowsTheSplashInTheMiddleOfTheScreen)
{
    FlowController flow({volumes, radio});
    EXPECT_EQ(flow.splashDuration, 2000ms);
    flow.splashDuration = 1ms;
    std::optional<bool> isSplashSeen;
    QObject::connect(&flow, &FlowController::mainWindowShown, &flow,
                     [&] { isSplashSeen = flow.splashWindow->isVisible(); });
    flow.start();
    EXPECT_TRUE(flow.splashWindow->isVisible());
    EXPECT_EQ(flow.mainWindow, nullptr);
    EXPECT_TRUE(logLines({u"viewDidLoad"_s}).isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return isSplashSeen.has_value(); }));
    EXPECT_FALSE(*isSplashSeen);
    EXPECT_TRUE(flow.mainWindow->isVisible());

    const QRect available = flow.mainWindow->screen()->availableGeometry();
    const QRect frame = flow.mainWindow->frameGeometry();
    EXPECT_LE(frame.height(), available.height());
    EXPECT_EQ(flow.mainWindow->width(), std::min(1440, available.width()));
    const QPoint off = frame.center() - available.center();
    EXPECT_LE(off.manhattanLength(), 4); // the frame was not known beforehand
}

TEST_F(FlowControllerTest, ControlQClosesTheMainWindowAndThatEndsTheProgram)
{
    FlowController flow({volumes, radio});
    flow.showMainWindow();
    MainWindow &window = *flow.mainWindow;
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTimer::singleShot(0, &window,
                       [&window] { QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier); });
    QTimer::singleShot(10s, &flow, [] { QCoreApplication::exit(99); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(window.isVisible());
}

TEST(CommandLine, StopsWithCodeAndText)
{
    struct Row
    {
        const char *name;
        QStringList arguments;
        int exitCode;
        QString text;
    };
    forEachRow<Row>(
        {{"version", {u"--version"_s}, 0, u"quillo 1.6"_s},
         {"unknownOption", {u"--colour"_s}, 2, u"colour"_s},
         {"helpGoesBeforeMistakes", {u"--colour"_s, u"--help"_s}, 0, u"--volumes <DIR>"_s},
         {"volumesWithoutValue", {u"--volumes"_s}, 2, u"volumes"_s},
         {"volumesIsFile", {u"--volumes"_s, u"/etc/passwd"_s}, 2, u"'/etc/passwd' is no folder"_s},
         {"stray", {u"pen"_s}, 2, u"'pen'"_s}},
        [](const Row &row) {
            CommandLine commandLine(u"About."_s);
            const auto stop = commandLine.parse(QStringList{u"/usr/bin/quillo"_s} + row.arguments);
            ASSERT_TRUE(stop);
            EXPECT_EQ(stop->exitCode, row.exitCode);
            EXPECT_TRUE(stop->text.contains(row.text)) << stop->text.toStdString();
            EXPECT_TRUE(stop->text.endsWith(u'\n'));
        });
}

TEST(CommandLine, TakesItsOwnOptionsAndLeavesTheToolkitsToIt)
{
    const PenFolder pen;
    CommandLine commandLine(u"About."_s);
    commandLine.addOption({u"seed"_s, u"Seed."_s, u"N"_s});
    commandLine.addOption({u"headless"_s, u"No display."_s});
    EXPECT_FALSE(
        commandLine.parse({u"quillo"_s, u"-platform"_s, u"offscreen"_s, u"--volumes"_s,
                           pen.volumes(), u"--config=/etc/passwd"_s, u"--seed"_s, u"7"_s}));
    EXPECT_EQ(commandLine.configurationFile(), u"/etc/passwd"_s);
    EXPECT_EQ(commandLine.value(u"seed"_s), u"7"_s);
    EXPECT_FALSE(commandLine.isSet(u"headless"_s));
    const auto volumes = commandLine.makeVolumes();
    ASSERT_EQ(volumes->volumes().size(), 1);
    EXPECT_EQ(volumes->volumes().constFirst().name, u"QUILLO"_s);

    CommandLine plain(u"About."_s);
    ASSERT_FALSE(plain.parse({u"quillo"_s}));
    EXPECT_NE(qobject_cast<SystemVolumes *>(plain.makeVolumes().get()), nullptr);
}

} // namespace
