#pragma once

#include "library/ViewMode.h"
#include "pen/PenAvailability.h"

#include <QString>

#include <functional>

class CoverCache;
class DeletionSelecting;

/// What the content controllers need of the main window's controller. Main thread only.
class ContentOwner : public virtual ViewModeHandlingDelegate, public virtual PenAvailability
{
public:
    [[nodiscard]] virtual CoverCache &coverCache() = 0;
    /// While the music of a pen is being read for the first time.
    [[nodiscard]] virtual bool isReadingMusic() const = 0;
    /// Null as long as nobody takes the choice of titles.
    [[nodiscard]] virtual DeletionSelecting *deletionSelection() = 0;
    /// Builds the page of all titles anew and shows it.
    virtual void showTitlesView() = 0;
    /// Shows what was found for these words, as the lists of found titles have it, as a page of its
    /// own; the page of all titles for no words.
    virtual void showFoundTitles(const QString &words) = 0;
    /// Goes from that page, if it is shown, to the one of all titles.
    virtual void closeFoundTitles() = 0;
    /// Gives the keyboard to the titles shown, else to the sidebar.
    virtual void focusTitles() = 0;
    /// Tells the person something without waiting for an answer; gone after a while. The text is
    /// asked for anew when the language changes.
    virtual void showMessage(const std::function<QString()> &text) = 0;
};
