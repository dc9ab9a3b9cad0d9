#pragma once

#include "ui/DeletionOwner.h"

class LanguageViewController;

/// What the header's buttons and its menu need of the main window.
class HeaderMenuOwner : public DeletionOwner
{
public:
    virtual void toggleViewMode() = 0;
    /// Shows the videos view, then looks for the pen by radio.
    virtual void searchPen() = 0;
    [[nodiscard]] virtual LanguageViewController &languageSwitch() = 0;
};
