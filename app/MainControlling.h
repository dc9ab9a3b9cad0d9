#pragma once

#include "app/NavElement.h"
#include "app/ViewMode.h"
#include "pen/PenAvailability.h"

class CoverCache;
class DeletionSelecting;
class QWidget;

/// What the navigation and the content controllers need of the main window's controller. Main
/// thread only.
class MainControlling : public ViewModeHandlingDelegate, public virtual PenAvailability
{
public:
    virtual void loadData() = 0;
    [[nodiscard]] virtual CoverCache &coverCache() = 0;

    /// Where one category's view stands at a time.
    [[nodiscard]] virtual QWidget &contentArea() = 0;
    /// Builds the category's view anew and shows it.
    virtual void showView(NavElementType type) = 0;

    /// Null as long as nobody takes the choice of titles.
    [[nodiscard]] virtual DeletionSelecting *deletionSelection() = 0;
};
