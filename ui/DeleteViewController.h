#pragma once

#include "library/BaseElement.h"
#include "library/Deletion.h"

#include <QStringList>
#include <QWidget>

class DeletionOwner;
class QToolButton;

/// The header's buttons for commands. The delete button removes the chosen titles from the pen.
/// Main thread only.
class DeleteViewController : public QWidget, public DeletionSelecting
{
    Q_OBJECT

public:
    explicit DeleteViewController(QWidget *parent = nullptr);

    /// Marks them in the view shown, too.
    void setSelectedElementIds(const QStringList &ids) override;
    void clearSelectedElementIds() override;

    /// Titles that are no longer in the library leave the choice.
    void dropGoneTitles();

    /// The button is enabled while chosen titles are seen and the pen is available.
    void updateDeleteButton();
    /// Asks about those of the chosen titles that are seen, and deletes them.
    void deleteButtonAction();

    /// The delete key in this view, or in one inside it, presses the button.
    void addDeleteKey(QWidget &view);

    /// The buttons' texts anew in the current language.
    void updateTexts();

    /// The main window's controller; set when it takes this one in.
    DeletionOwner *viewController = nullptr;

    // Outlet.
    QToolButton *deleteButton = nullptr;

private:
    [[nodiscard]] QStringList visibleChoice() const;
    void deleteTitles(const QStringList &ids, const ElementList &titles, int pen);
};
