#pragma once

#include <QString>

class DemoServers;

/// Writes the property list that leads the program to the demo's servers; false when that failed.
[[nodiscard]] bool writeConfiguration(const DemoServers &servers, const QString &path);
