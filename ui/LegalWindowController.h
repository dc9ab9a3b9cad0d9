#pragma once

#include <QWidget>

#include <optional>

class QTextBrowser;

/// The window with one of the two legal texts. Several may be open; each goes when it is closed.
/// Main thread only.
class LegalWindowController : public QWidget
{
    Q_OBJECT

public:
    /// `legalOrPrivacy` is the title of the menu entry that asks for it, in the current language;
    /// any other text leaves the window empty. `parent` is the window that it belongs to.
    LegalWindowController(const QString &legalOrPrivacy, QWidget *parent);

    /// Shows it above the window that it belongs to, with the keyboard.
    void showWindow();

    // Outlet.
    QTextBrowser *textView = nullptr;

    const QString legalOrPrivacy;
    std::optional<QString>
        file; ///< the shipped text that is shown, which is German in any language

protected:
    void changeEvent(QEvent *event) override;

private:
    void windowDidLoad();
    void showText();
    void updateTitle();

    QString m_titleKey = QStringLiteral("window_title");
};
