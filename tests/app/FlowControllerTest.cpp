#include "app/FlowController.h"

#include "tests/app/AppFixture.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QScreen>
#include <QSignalSpy>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class FlowControllerTest : public AppTest
{
protected:
    FlowController flow{volumes};
};

TEST_F(FlowControllerTest, SplashIsClosedBeforeWhatFollows)
{
    std::optional<bool> visible;
    flow.showSplash(1ms, [&] { visible = flow.splashWindow->isVisible(); });
    EXPECT_TRUE(flow.splashWindow->isVisible());
    ASSERT_TRUE(QTest::qWaitFor([&] { return visible.has_value(); }));
    EXPECT_FALSE(*visible);
}

TEST_F(FlowControllerTest, MainWindowFollowsTheSplashAfterTwoSeconds)
{
    QSignalSpy shown(&flow, &FlowController::mainWindowShown);
    QElapsedTimer watch;
    watch.start();
    flow.start();
    EXPECT_TRUE(flow.splashWindow->isVisible());
    EXPECT_EQ(flow.mainWindow, nullptr);
    EXPECT_TRUE(logLines({u"viewDidLoad"_s}).isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return shown.count() == 1; }, 10'000));
    EXPECT_GE(watch.elapsed(), 1900); // coarse timers may be 5 % early
    EXPECT_FALSE(flow.splashWindow->isVisible());
    EXPECT_TRUE(flow.mainWindow->isVisible());
}

TEST_F(FlowControllerTest, MainWindowStandsInTheMiddleAndFitsTheScreen)
{
    flow.showMainWindow();
    const QRect available = flow.mainWindow->screen()->availableGeometry();
    const QRect frame = flow.mainWindow->frameGeometry();
    EXPECT_LE(frame.height(), available.height());
    EXPECT_EQ(flow.mainWindow->width(), std::min(1440, available.width()));
    const QPoint off = frame.center() - available.center();
    EXPECT_LE(off.manhattanLength(), 4); // the frame was not known beforehand
}

class EndOfProgram : public FlowControllerTest, public testing::WithParamInterface<bool>
{
};

TEST_P(EndOfProgram, FollowsTheMainWindowsClosing)
{
    flow.showMainWindow();
    MainWindow &window = *flow.mainWindow;
    ASSERT_TRUE(waitForLog(u"viewDidAppear Ende"_s));
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTimer::singleShot(0, &window, [&window] {
        if (GetParam())
            QTest::keyClick(&window, Qt::Key_Q, Qt::ControlModifier);
        else
            window.close();
    });
    QTimer::singleShot(10s, &flow, [] { QCoreApplication::exit(99); });
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(window.isVisible());
}

INSTANTIATE_TEST_SUITE_P(Ways, EndOfProgram, testing::Bool(),
                         [](const auto &row) { return row.param ? "ControlQ" : "Closed"; });

} // namespace
