#pragma once

#include "pen/PenAvailability.h"

class DeletionHandling;

/// What deleting titles needs of the main window.
class DeletionOwner : public virtual PenAvailability
{
public:
    /// The controller shown in the content area; null when titles cannot be deleted in it.
    [[nodiscard]] virtual DeletionHandling *shownDeletionHandling() = 0;
    /// The keyboard goes to the titles shown, or to the sidebar when there are none.
    virtual void focusTitles() = 0;
    /// Fills the title lists from the pen.
    virtual void getBaseElementsFromPen() = 0;
    /// Another number once the pen has gone, also when it is back.
    [[nodiscard]] virtual int penNumber() const = 0;
};
