#pragma once

#include <QString>

/// As "1.6". The build tells it, once.
[[nodiscard]] QString programVersion();
