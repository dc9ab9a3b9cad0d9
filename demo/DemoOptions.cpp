#include "demo/DemoOptions.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int mostTitles = 10000;

bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY")
           || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

/// An option's whole number, `standard` without the option; absent when it is none or out of range.
std::optional<qint64> number(const CommandLine &commandLine, const QString &option, qint64 least,
                             qint64 most, qint64 standard)
{
    const std::optional<QString> text = commandLine.value(option);
    if (!text)
        return standard;
    bool ok = false;
    const qint64 value = text->toLongLong(&ok);
    return ok && value >= least && value <= most ? std::optional(value) : std::nullopt;
}

} // namespace

void addDemoOptions(CommandLine &commandLine)
{
    commandLine.addOption(
        {u"pen"_s, u"Use the folder <DIR> as the pen; it is filled when it is empty."_s, u"DIR"_s});
    commandLine.addOption(
        {u"headless"_s, u"Run one update run without a display, write pictures and a summary; the "
                        "exit code is 0 only when everything arrived."_s});
    commandLine.addOption({u"pictures"_s,
                           u"Write the pictures of --headless to the folder <DIR>."_s, u"DIR"_s,
                           u"quillo-pictures"_s});
    commandLine.addOption(
        {u"every-view"_s, u"With --headless: pictures of every view after the run, too."_s});
    commandLine.addOption({u"seed"_s, u"Invent other titles for every <N>."_s, u"N"_s, u"1"_s});
    commandLine.addOption({u"titles"_s, u"Invent <N> titles, 1 to 10000."_s, u"N"_s, u"24"_s});
}

std::optional<DemoOptions> demoOptions(const CommandLine &commandLine, QString &error)
{
    DemoOptions options;
    const auto seed = number(commandLine, u"seed"_s, 0, 0xffffffff, options.seed);
    const auto titles = number(commandLine, u"titles"_s, 1, mostTitles, options.titles);
    if (!seed)
        error = u"--seed takes a whole number that is not negative."_s;
    else if (!titles)
        error = u"--titles takes a whole number from 1 to %1."_s.arg(mostTitles);
    else if (commandLine.volumesFolder() || commandLine.configurationFile())
        error = u"The demo has its own volumes and servers: neither --volumes nor --config."_s;
    if (!error.isEmpty())
        return std::nullopt;
    options.seed = quint32(*seed);
    options.titles = int(*titles);
    options.penFolder = commandLine.value(u"pen"_s).value_or(QString());
    options.picturesFolder = commandLine.value(u"pictures"_s).value_or(u"quillo-pictures"_s);
    options.everyView = commandLine.isSet(u"every-view"_s);
    const bool platformChosen =
        commandLine.isSet(u"platform"_s) || !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    options.headless = commandLine.isSet(u"headless"_s) || (!hasDisplay() && !platformChosen);
    return options;
}
