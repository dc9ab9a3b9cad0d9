#pragma once

#include "library/BaseElement.h"
#include "library/Deletion.h"

#include <QPointer>
#include <QStringList>
#include <QWidget>

class HeaderMenuOwner;
class LegalWindowController;
class QAction;
class QMenu;
class QToolButton;

/// The header's buttons for commands: one deletes the chosen titles from the pen, the other opens
/// the menu. Main thread only.
class DeleteViewController : public QWidget, public DeletionSelecting
{
    Q_OBJECT

public:
    /// The entries of the menu, from top to bottom.
    enum class ItemTag { changeView, switchLanguage, bluetooth, legalInformation, privacy };
    enum class languageItemTag { german, english };

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

    void menuButtonTapped();
    /// What the entry stands for happens.
    void didSelectMenuEntry(const QAction &entry);
    /// Builds the menus and the buttons' texts in the current language.
    void rebuildMenus();
    void setChangeViewEnabled(bool enabled);

    /// The main window's controller; set when it takes this one in.
    HeaderMenuOwner *viewController = nullptr;

    QPointer<LegalWindowController> legalWindowController; ///< the last one opened, while open
    QMenu *dropDownMenu;
    QMenu *languageDropDownMenu;

    // Outlets.
    QToolButton *deleteButton = nullptr;
    QToolButton *menuButton = nullptr;

private:
    void addEntry(QMenu &menu, const QString &key, int tag);
    void switchLanguage(languageItemTag tag);
    void markLanguage();
    void showLegalWindow(const QString &title);
    [[nodiscard]] QStringList visibleChoice() const;
    void deleteTitles(const QStringList &ids, const ElementList &titles, int pen);

    bool m_changeViewEnabled = false;
};
