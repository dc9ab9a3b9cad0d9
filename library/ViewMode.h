#pragma once

/// How the category views show their titles.
enum class ViewMode { tiled, list };

[[nodiscard]] constexpr ViewMode toggled(ViewMode mode)
{
    return mode == ViewMode::tiled ? ViewMode::list : ViewMode::tiled;
}

/// From whom the category views learn the current mode.
class ViewModeHandlingDelegate
{
public:
    virtual ~ViewModeHandlingDelegate() = default;

    [[nodiscard]] virtual ViewMode viewMode() const = 0;
};

/// Adopted by all that shows itself in the current mode.
class ViewModeHandling
{
public:
    virtual ~ViewModeHandling() = default;

    [[nodiscard]] virtual const ViewModeHandlingDelegate &viewModeDelegate() const = 0;
    virtual void applyViewMode(ViewMode mode) = 0;
};
