#pragma once

#include "ui/HeaderController.h"

/// The header of the main window, whose title follows the language.
class HeaderViewController : public HeaderController
{
    Q_OBJECT

public:
    using HeaderController::HeaderController;

    /// The title in the current language.
    void setTitle();
};
