#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class VolumeSource;

/// The program's options. Another program built on the same start-up adds its own before parsing.
/// Needs no application object, so that help, version and mistakes are told without a display.
class CommandLine
{
public:
    /// The program is to end right away, with this text on standard output for exit code 0 and on
    /// standard error otherwise.
    struct Stop
    {
        int exitCode;
        QString text;
    };

    explicit CommandLine(const QString &description);

    void addOption(const QCommandLineOption &option);

    [[nodiscard]] std::optional<Stop> parse(const QStringList &arguments);

    [[nodiscard]] bool isSet(const QString &option) const;
    [[nodiscard]] std::optional<QString> value(const QString &option) const;

    /// The folder whose subfolders stand for the mounted volumes.
    [[nodiscard]] std::optional<QString> volumesFolder() const;
    /// The property list used in place of the shipped one.
    [[nodiscard]] std::optional<QString> configurationFile() const;

    /// The volumes these options ask for. Needs the application object.
    [[nodiscard]] std::unique_ptr<VolumeSource> makeVolumes() const;

private:
    [[nodiscard]] QString helpText() const;
    [[nodiscard]] std::optional<Stop> checkPaths() const;

    QCommandLineParser m_parser;
    QString m_program;
};

/// What main() was given, as texts.
[[nodiscard]] QStringList argumentList(int argc, char **argv);

/// Writes the text where it belongs and returns the exit code.
[[nodiscard]] int report(const CommandLine::Stop &stop);
