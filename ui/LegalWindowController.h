#pragma once

#include <QWidget>

class QTextBrowser;

/// The window with one of the two legal texts. Goes when it is closed. Main thread only.
class LegalWindowController : public QWidget
{
    Q_OBJECT

public:
    /// `legalOrPrivacy` is the title of the menu entry that asks for it, in the current language;
    /// any other text leaves the window empty. `parent` is the window that it belongs to.
    LegalWindowController(const QString &legalOrPrivacy, QWidget *parent);

    void showWindow();

    // Outlet.
    QTextBrowser *textView = nullptr;

    const QString legalOrPrivacy;
};
