#pragma once

#include "platform/WebRequest.h"

#include <QPointer>
#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class WebEngine;

/// Shows pages of the web, or says that it cannot. The engine behind it is made when a page is to
/// be seen, not before, and ends when the view is hidden: sound stops, memory comes back. Shown
/// again, the view loads anew. Main thread only.
class WebView : public QWidget
{
    Q_OBJECT

public:
    /// What stands in place of a page that cannot be shown. The owner knows the language.
    struct Texts
    {
        QString unavailable;
        QString tryAgain;
        QString openInBrowser;
    };

    explicit WebView(QWidget *parent = nullptr);
    ~WebView() override;

    void setTexts(const Texts &texts);
    /// Holds for what is loaded from now on.
    void setNavigation(WebNavigation navigation) { m_navigation = navigation; }

    /// Shows a page made here. `address` is what it shows, and is opened in the browser where the
    /// view cannot.
    void loadHTML(const QString &html, const QUrl &address);
    /// Shows what an address leads to; one that is not of the web, or none, counts as unavailable.
    void load(const QUrl &address);
    /// Loads what was asked for last anew; what failed is tried again.
    void reload();

    /// What was asked for last, also while nothing of it is shown.
    [[nodiscard]] const WebRequest &request() const { return m_request; }
    [[nodiscard]] bool isRunning() const;
    /// The text stands where the page should be.
    [[nodiscard]] bool isUnavailable() const;
    /// What was asked for last, or a page that it led to, has come.
    [[nodiscard]] bool isLoaded() const { return m_loaded; }
    /// A film of the page asked for last has been seen.
    [[nodiscard]] bool isPlaying() const { return m_playing; }

    /// How long a server may be silent before its page has come.
    std::chrono::milliseconds patience = WebRequest().patience;

Q_SIGNALS:
    /// The person wants what is unavailable to be tried once more. Nothing else happens.
    void tryAgain();
    /// The first picture of the page's film is seen.
    void playing();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void buildFallback();
    void start();
    void stop();
    void makeEngine();
    void fail(const QString &reason);
    void openInBrowser();

    WebRequest m_request;
    WebNavigation m_navigation = WebNavigation::PageOnly;
    QTimer m_start; ///< the view is seen first; the engine takes a moment
    QPointer<WebEngine> m_engine;
    bool m_asked = false; ///< for anything at all
    bool m_loaded = false;
    bool m_playing = false;
    QWidget *m_fallback;
    QLabel *m_fallbackLabel;
    QPushButton *m_tryAgainButton;
    QPushButton *m_browserButton;
};
