#pragma once

#include <QPalette>

/// Dark text on white in every desktop scheme: the areas with a white background of their own give
/// it to all that stands on them.
[[nodiscard]] QPalette contentPalette();
