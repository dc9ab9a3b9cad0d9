#pragma once

#include <QApplication>

#include <functional>
#include <memory>

class AppDelegate;
class CentralManager;
class TerminationSignals;
class ViewController;
class VolumeSource;

/// The application object: it holds what the whole run needs, wires it with the volumes it is given
/// and takes it down in the right order. main() of every program built on it is a few lines.
class QuilloApplication : public QApplication
{
    Q_OBJECT

public:
    using VolumeSourceMaker = std::function<std::unique_ptr<VolumeSource>()>;
    using RadioMaker = std::function<std::unique_ptr<CentralManager>()>;

    /// Both are made once the event loop's means are there, the radio first.
    QuilloApplication(int &argc, char **argv, const VolumeSourceMaker &makeVolumes,
                      const RadioMaker &makeRadio);
    ~QuilloApplication() override;

    /// Runs until the main window is closed or the system asks the program to end.
    int run();

    /// Ends the program as closing the main window does.
    void terminate();

    /// The main window's controller; null until the main window is shown.
    [[nodiscard]] ViewController *viewController() const;
    [[nodiscard]] VolumeSource &volumes() const { return *m_volumes; }
    [[nodiscard]] CentralManager &radio() const { return *m_radio; }

private:
    std::unique_ptr<TerminationSignals> m_signals; // first, to be heard from the beginning
    std::unique_ptr<CentralManager> m_radio;       // before there are threads
    std::unique_ptr<VolumeSource> m_volumes;

public:
    const std::unique_ptr<AppDelegate> delegateReference;
};
