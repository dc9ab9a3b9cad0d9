#pragma once

#include "platform/WebRequest.h"

#include <QWebEnginePage>

/// A page that keeps to itself: it goes only where its request allows, opens nothing, asks nothing
/// and is granted nothing. Main thread only.
class WebPage : public QWebEnginePage
{
    Q_OBJECT

public:
    WebPage(const WebRequest &request, QWebEngineProfile &profile);

    /// Begins to load it. Once only.
    void open();

Q_SIGNALS:
    void failed(const QString &reason);
    /// The first picture of a page's film is seen.
    void playing();

protected:
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
    void javaScriptConsoleMessage(JavaScriptConsoleMessageLevel level, const QString &message,
                                  int line, const QString &source) override;

    // Nobody is asked.
    QWebEnginePage *createWindow(WebWindowType) override { return nullptr; }
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

    const WebRequest m_request;
    bool m_opened = false; ///< what was asked for is on its way
    bool m_shown = false;  ///< some of it has come
    QString m_filmFailed;  ///< what the watch of the films says; empty without one
    QString m_filmPlays;
};
