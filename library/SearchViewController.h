#pragma once

#include <QTimer>
#include <QWidget>

#include <chrono>

class ContentOwner;
class QLineEdit;

/// The search field above the content: what is typed there is looked for in the names of titles and
/// music. Main thread only.
class SearchViewController : public QWidget
{
    Q_OBJECT

public:
    explicit SearchViewController(QWidget *parent = nullptr);

    /// Searches for the field's text as it stands and has what was found shown. Also sent by a
    /// pause in typing.
    void searchFieldAction();
    /// Fills the lists of what was found: everything whose name contains the text, whatever the
    /// case of the letters; all for an empty one.
    static void filter(const QString &text);
    /// What has been typed is not searched for unless the person goes on: for when they have gone
    /// elsewhere.
    void endPause();
    /// Puts the keyboard into the field, its text selected.
    void takeFocus();

    /// The field's texts in the current language.
    void updateTexts();
    /// Empties the field without searching.
    void clear();

    /// The main window's controller; set when it takes this one in.
    ContentOwner *viewController = nullptr;
    /// How long nothing is typed until it is searched for.
    std::chrono::milliseconds pause{300};

    // Outlet.
    QLineEdit *searchField = nullptr;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void pauseInTyping();
    void leave();

    QTimer m_pause{this};
};
