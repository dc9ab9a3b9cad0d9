#include "app/CommandLine.h"
#include "app/QuilloApplication.h"
#include "platform/BluetoothCentral.h"
#include "platform/Bundle.h"
#include "platform/VolumeSource.h"

int main(int argc, char **argv)
{
    CommandLine commandLine(QStringLiteral("Keeps a Quillo listening pen up to date."));
    if (const std::optional<CommandLine::Stop> stop = commandLine.parse(argumentList(argc, argv)))
        return report(*stop);
    if (const std::optional<QString> file = commandLine.configurationFile())
        Bundle::setConfigurationFile(*file);

    QuilloApplication application(
        argc, argv, [&] { return commandLine.makeVolumes(); },
        [] { return std::make_unique<BluetoothCentral>(); });
    return application.run();
}
