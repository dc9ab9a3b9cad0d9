#include "app/FlowController.h"

#include "app/MainWindow.h"
#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "base/ViewPlacement.h"
#include "platform/Dispatch.h"

#include "ui_SplashScreen.h"

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<QWidget> makeSplashWindow()
{
    auto window = std::make_unique<QWidget>(nullptr, Qt::SplashScreen);
    Ui::SplashScreen outlets;
    outlets.setupUi(window.get());
    window->setPalette(contentPalette());
    window->setWindowTitle(localized(u"window_title"_s));
    outlets.pictureView->setImageName(u"splash"_s);
    outlets.titleLabel->setText(localized(u"header_title"_s));
    outlets.subtitleLabel->setText(localized(u"splash_subtitle"_s));
    setColor(*outlets.titleLabel, QPalette::WindowText, ColorConstants::mainColor());
    window->adjustSize();
    return window;
}

} // namespace

FlowController::FlowController(const Hardware &hardware, QObject *parent)
    : QObject(parent)
    , m_hardware(hardware)
{
}

FlowController::~FlowController() = default;

void FlowController::start()
{
    showSplash(splashDuration, [this] { showMainWindow(); });
}

void FlowController::showSplash(std::chrono::milliseconds duration,
                                std::function<void()> completion)
{
    splashWindow = makeSplashWindow();
    centreOnScreen(*splashWindow);
    splashWindow->show();
    splashWindow->raise();
    splashWindow->activateWindow();
    Dispatch::mainAfter(duration, this, [this, completion = std::move(completion)] {
        splashWindow->close();
        completion();
    });
}

void FlowController::showMainWindow()
{
    mainWindow = std::make_unique<MainWindow>(m_hardware);
    centreOnScreen(*mainWindow);
    mainWindow->show();
    mainWindow->activateWindow();
    Q_EMIT mainWindowShown();
}

void FlowController::closeWindows()
{
    splashWindow.reset();
    mainWindow.reset();
}
