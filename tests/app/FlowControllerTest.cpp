#include "app/FlowController.h"

#include "tests/app/AppFixture.h"

#include <QApplication>
#include <QScreen>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

class FlowControllerTest : public AppTest
{
protected:
    FlowController flow{volumes};
};

TEST_F(FlowControllerTest, MainWindowFollowsTheSplashInTheMiddleOfTheScreen)
{
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
