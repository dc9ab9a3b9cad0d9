#pragma once

#include <QWidget>

class ContentOwner;
class QLineEdit;

/// The search field above the content: what is typed there is looked for in the names of titles and
/// music. Main thread only.
class SearchViewController : public QWidget
{
    Q_OBJECT

public:
    explicit SearchViewController(QWidget *parent = nullptr);

    /// Searches for the field's text as it stands and has what was found shown.
    void searchFieldAction();
    /// Fills the lists of what was found.
    static void filter(const QString &text);

    /// The field's texts in the current language.
    void updateTexts();
    /// Empties the field without searching.
    void clear();

    /// The main window's controller; set when it takes this one in.
    ContentOwner *viewController = nullptr;

    // Outlet.
    QLineEdit *searchField = nullptr;
};
