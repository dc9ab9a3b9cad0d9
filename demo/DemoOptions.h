#pragma once

#include "app/CommandLine.h"

#include <QString>

#include <optional>

/// What the demo was asked for on its command line.
struct DemoOptions
{
    QString penFolder; ///< empty for a folder of the demo's own
    bool headless = false;
    QString picturesFolder;
    bool everyView = false; ///< with pictures of every view after the run
    quint32 seed = 1;
    int titles = 24;
};

/// Adds the demo's options to those of the program.
void addDemoOptions(CommandLine &commandLine);

/// The parsed options; `error` says what is wrong with them. Without a display the demo is headless
/// by itself.
[[nodiscard]] std::optional<DemoOptions> demoOptions(const CommandLine &commandLine,
                                                     QString &error);
