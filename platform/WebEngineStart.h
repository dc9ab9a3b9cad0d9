#pragma once

#include <QString>

#include <functional>
#include <optional>

/// What decides whether the web engine can start.
struct WebEngineSurroundings
{
    bool root = false;
    bool sandboxOff = false; ///< by the environment: QTWEBENGINE_DISABLE_SANDBOX=1
    /// Whether the system lets a process shut itself in; asked only where that matters.
    std::function<bool()> sandboxPossible;
    QString processProgram; ///< what the engine runs its pages in; empty when it is missing

    [[nodiscard]] static WebEngineSurroundings current();
};

/// Why the web engine cannot start here, for the trace; absent when it can. The engine itself would
/// end the whole program for each of these reasons. Main thread only.
[[nodiscard]] std::optional<QString>
webEngineObstacle(const WebEngineSurroundings &here = WebEngineSurroundings::current());
