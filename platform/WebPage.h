#pragma once

#include "platform/WebRequest.h"

#include <QDeadlineTimer>
#include <QTimer>
#include <QWebEnginePage>

class QWebEngineNewWindowRequest;

/// A page that keeps to itself: it goes only where its request allows, opens no window, asks
/// nothing and is granted nothing. Main thread only.
class WebPage : public QWebEnginePage
{
    Q_OBJECT

public:
    WebPage(const WebRequest &request, QWebEngineProfile &profile);

    /// Begins to load it. Once only.
    void open();
    /// The person has clicked or pressed a key in the page: it may lead out of its site, once.
    void personActed();

Q_SIGNALS:
    /// All of it has come, or of what it led to.
    void loaded();
    void failed(const QString &reason);
    /// The first picture of a page's film is seen.
    void playing();

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString &message,
                                  int line, const QString &source) override;

    // Nobody is asked.
    QStringList chooseFiles(FileSelectionMode, const QStringList &, const QStringList &) override
    {
        return {};
    }
    void javaScriptAlert(const QUrl &, const QString &) override {}
    bool javaScriptConfirm(const QUrl &, const QString &) override { return false; }
    bool javaScriptPrompt(const QUrl &, const QString &, const QString &, QString *) override
    {
        return false;
    }

private:
    void restrict();
    void watchFilms();
    void loadChanged(const QWebEngineLoadingInfo &info);
    void followIntoNewWindow(const QWebEngineNewWindowRequest &request);
    void leaveSite(const QUrl &url);
    [[nodiscard]] bool isOfSite(const QUrl &url) const;

    const WebRequest m_request;
    QString m_site;           ///< host without "www."
    QTimer m_patience;        ///< with a server that says nothing
    QDeadlineTimer m_gesture; ///< as long as what the person did last counts
    bool m_opened = false;    ///< what was asked for is on its way
    bool m_shown = false;     ///< some of it has come
    QString m_filmFailed;     ///< what the watch of the films says; empty without one
    QString m_filmPlays;
};
