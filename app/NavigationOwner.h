#pragma once

#include "library/ViewMode.h"

class QWidget;

/// What the navigation needs of the main window's controller. Main thread only.
class NavigationOwner : public virtual ViewModeHandlingDelegate
{
public:
    virtual void loadData() = 0;
    /// Where one category's view stands at a time.
    [[nodiscard]] virtual QWidget &contentArea() = 0;
};
