#pragma once

/// Layout constants, in points.
struct Constants
{
    static constexpr int listInset = 8;     ///< of a list view inside its category view
    static constexpr int dividerInset = 20; ///< of a sidebar divider's line
};
