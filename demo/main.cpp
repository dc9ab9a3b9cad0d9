#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/MainWindow.h"
#include "app/QuilloApplication.h"
#include "demo/ControlPanel.h"
#include "demo/DemoOutput.h"
#include "demo/DemoSetup.h"
#include "demo/HeadlessRun.h"
#include "platform/SimulatedCentral.h"
#include "platform/VolumeSource.h"

using namespace Qt::StringLiterals;

namespace {

int showLive(DemoSetup &setup, QuilloApplication &application)
{
    FlowController &flow = application.delegateReference->flowConroller;
    QObject::connect(&flow, &FlowController::mainWindowShown, &application,
                     [&setup, &flow] { (new ControlPanel(setup, *flow.mainWindow))->show(); });
    return application.run();
}

} // namespace

int main(int argc, char **argv)
{
    CommandLine commandLine(u"Shows Quillo with a simulated pen and servers of its own."_s);
    addDemoOptions(commandLine);
    if (const std::optional<CommandLine::Stop> stop = commandLine.parse(argumentList(argc, argv)))
        return report(*stop);
    QString error;
    const std::optional<DemoOptions> options = demoOptions(commandLine, error);
    if (!options)
        return report({2, u"quillo-demo: %1\n"_s.arg(error)});

    qputenv("no_proxy", "127.0.0.1"); // where the demo has its servers
    DemoSetup setup(*options);
    if (options->headless && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", setup.headlessPlatform());
    const QString folder =
        options->headless ? options->picturesFolder : setup.pen().scratchFolder();
    if (!keepProgramOutput(folder))
        return report({1, u"quillo-demo: Cannot write to %1.\n"_s.arg(folder)});
    QuilloApplication application(
        argc, argv, [&setup] { return setup.makeVolumes(); },
        [&setup] { return setup.radio().make(); });
    if (!setup.error().isEmpty())
        return report({1, u"quillo-demo: %1\n"_s.arg(setup.error())});
    if (!options->headless)
        return showLive(setup, application);
    const HeadlessRun run(setup, application, *options);
    application.run();
    return run.exitCode();
}
