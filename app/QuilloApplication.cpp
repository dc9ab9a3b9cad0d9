#include "app/QuilloApplication.h"

#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "base/Localization.h"
#include "platform/CentralManager.h"
#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "platform/TerminationSignals.h"
#include "platform/ToolkitLanguage.h"
#include "platform/VolumeSource.h"

namespace {

std::unique_ptr<VolumeSource> installed(std::unique_ptr<VolumeSource> volumes)
{
    FileManager::setVolumeSource(volumes.get());
    return volumes;
}

/// A web view that is made later needs it before there is an application.
int &withSharedContexts(int &argc)
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    return argc;
}

} // namespace

QuilloApplication::QuilloApplication(int &argc, char **argv, const VolumeSourceMaker &makeVolumes,
                                     const RadioMaker &makeRadio)
    : QApplication(withSharedContexts(argc), argv)
    , m_signals(std::make_unique<TerminationSignals>())
    , m_radio(makeRadio())
    , m_volumes(installed(makeVolumes()))
    , delegateReference(std::make_unique<AppDelegate>(Hardware{*m_volumes, *m_radio}))
{
    ignoreBrokenPipes();
    setToolkitLanguage(currentLanguage());
    setApplicationName(QStringLiteral("quillo"));
    // The splash window goes before the main window comes.
    setQuitOnLastWindowClosed(false);
    connect(m_signals.get(), &TerminationSignals::requested, this, &QuilloApplication::terminate);
}

QuilloApplication::~QuilloApplication()
{
    delegateReference->flowConroller.closeWindows();
    Dispatch::waitForGlobalWork();
    endSharedSession();
    FileManager::setVolumeSource(nullptr);
}

int QuilloApplication::run()
{
    Dispatch::main(this, [this] { delegateReference->applicationDidFinishLaunching(); });
    return exec();
}

void QuilloApplication::terminate()
{
    if (MainWindow *window = delegateReference->flowConroller.mainWindow.get())
        window->close();
    // Also when the window has not begun to listen to its closing.
    exit(0);
}

ViewController *QuilloApplication::viewController() const
{
    const MainWindow *window = delegateReference->flowConroller.mainWindow.get();
    return window != nullptr ? &window->viewController() : nullptr;
}
