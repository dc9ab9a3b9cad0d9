#include "app/CommandLine.h"

#include "platform/FolderVolumes.h"
#include "platform/ProgramVersion.h"
#include "platform/SystemVolumes.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr int wrongUse = 2;

// Taken by the toolkit from its own arguments; here they only must not count as mistakes.
const QStringList &toolkitOptions()
{
    static const QStringList names{u"platform"_s, u"platformtheme"_s, u"platformpluginpath"_s,
                                   u"style"_s,    u"stylesheet"_s,    u"qwindowgeometry"_s,
                                   u"display"_s,  u"session"_s};
    return names;
}

QCommandLineOption hiddenOption(const QString &name)
{
    QCommandLineOption option(name);
    option.setValueName(u"value"_s);
    option.setFlags(QCommandLineOption::HiddenFromHelp);
    return option;
}

} // namespace

CommandLine::CommandLine(const QString &description)
{
    m_parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    m_parser.setApplicationDescription(description);
    m_parser.addOptions(
        {{u"volumes"_s, u"Take the subfolders of <DIR> as the mounted volumes."_s, u"DIR"_s},
         {u"config"_s, u"Read the server addresses from the property list <FILE>."_s, u"FILE"_s},
         {{u"h"_s, u"help"_s}, u"Show this help and end."_s},
         {{u"v"_s, u"version"_s}, u"Show the version and end."_s}});
    for (const QString &name : toolkitOptions())
        m_parser.addOption(hiddenOption(name));
}

void CommandLine::addOption(const QCommandLineOption &option)
{
    m_parser.addOption(option);
}

std::optional<CommandLine::Stop> CommandLine::parse(const QStringList &arguments)
{
    m_program = QFileInfo(arguments.value(0)).fileName();
    const bool understood = m_parser.parse(arguments);
    if (isSet(u"help"_s))
        return Stop{0, helpText()};
    if (isSet(u"version"_s))
        return Stop{0, u"%1 %2\n"_s.arg(m_program, programVersion())};
    if (!understood)
        return Stop{wrongUse, u"%1: %2\n"_s.arg(m_program, m_parser.errorText())};
    if (!m_parser.positionalArguments().isEmpty())
        return Stop{wrongUse, u"%1: Unexpected argument '%2'.\n"_s.arg(
                                  m_program, m_parser.positionalArguments().constFirst())};
    return checkPaths();
}

bool CommandLine::isSet(const QString &option) const
{
    return m_parser.isSet(option);
}

std::optional<QString> CommandLine::value(const QString &option) const
{
    return isSet(option) ? std::optional(m_parser.value(option)) : std::nullopt;
}

std::optional<QString> CommandLine::volumesFolder() const
{
    return value(u"volumes"_s);
}

std::optional<QString> CommandLine::configurationFile() const
{
    return value(u"config"_s);
}

std::unique_ptr<VolumeSource> CommandLine::makeVolumes() const
{
    if (const std::optional<QString> folder = volumesFolder())
        return std::make_unique<FolderVolumes>(*folder);
    return std::make_unique<SystemVolumes>();
}

QString CommandLine::helpText() const
{
    if (QCoreApplication::instance() != nullptr)
        return m_parser.helpText();
    // The parser asks the application object for the program's name.
    QByteArray name = m_program.toLocal8Bit();
    char *arguments[] = {name.data(), nullptr};
    int count = 1;
    const QCoreApplication application(count, arguments);
    return m_parser.helpText();
}

std::optional<CommandLine::Stop> CommandLine::checkPaths() const
{
    const std::optional<QString> folder = volumesFolder();
    if (folder && !QFileInfo(*folder).isDir())
        return Stop{wrongUse, u"%1: '%2' is no folder.\n"_s.arg(m_program, *folder)};
    // A configuration that cannot be read leaves the program without servers, not without a pen.
    return {};
}

QStringList argumentList(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    return arguments;
}

int report(const CommandLine::Stop &stop)
{
    std::fputs(stop.text.toLocal8Bit().constData(), stop.exitCode == 0 ? stdout : stderr);
    return stop.exitCode;
}
