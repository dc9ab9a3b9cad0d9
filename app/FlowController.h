#pragma once

#include "platform/Hardware.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

class MainWindow;
class QWidget;

/// Shows the splash window and then the main window.
class FlowController : public QObject
{
    Q_OBJECT

public:
    struct Properties
    {
        static constexpr std::chrono::milliseconds splashDuration{2000};
    };

    explicit FlowController(const Hardware &hardware, QObject *parent = nullptr);
    ~FlowController() override;

    void start();
    /// `completion` runs after the splash window has been closed.
    void showSplash(std::chrono::milliseconds duration, std::function<void()> completion);
    void showMainWindow();
    /// Takes both windows down, for the end of the program.
    void closeWindows();

    /// How long start() shows the splash window.
    std::chrono::milliseconds splashDuration = Properties::splashDuration;

    std::unique_ptr<QWidget> splashWindow;
    std::unique_ptr<MainWindow> mainWindow;

Q_SIGNALS:
    void mainWindowShown();

private:
    const Hardware m_hardware;
};
