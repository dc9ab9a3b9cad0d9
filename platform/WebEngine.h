#pragma once

#include "platform/WebRequest.h"

#include <QWidget>

#include <memory>

class QProgressBar;
class QWebEngineProfile;
class QWebEngineView;
class WebPage;

/// The web engine at work on one page, and all that it keeps in memory of it: both end with the
/// object. Nothing is kept on disk, nothing of the computer is within a page's reach, and no page
/// opens a window, asks a question or loads down a file. "Back" on the keyboard goes back to the
/// page before. Main thread only.
class WebEngine : public QWidget
{
    Q_OBJECT

public:
    /// The engine must be able to start: see webEngineObstacle().
    explicit WebEngine(QWidget *parent);
    ~WebEngine() override;

    /// Loads a page in place of the one there is.
    void open(const WebRequest &request);

Q_SIGNALS:
    /// All of the page has come, or of what it led to.
    void loaded();
    /// The page could not be loaded, its film not be played, or its process has ended.
    void failed(const QString &reason);
    /// The first picture of the page's film is seen.
    void playing();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void addProgress();
    void showProgress(const WebPage &page);

    std::unique_ptr<QWebEngineProfile> m_profile; // ends after its page, which ends after its view
    std::unique_ptr<WebPage> m_page;
    std::unique_ptr<QWebEngineView> m_view;
    QProgressBar *m_progress;
};
