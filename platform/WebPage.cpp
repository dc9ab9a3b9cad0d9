#include "platform/WebPage.h"

#include <QUuid>
#include <QWebEngineLoadingInfo>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;

WebPage::WebPage(const WebRequest &request, QWebEngineProfile &profile)
    : QWebEnginePage(&profile)
    , m_request(request)
{
    restrict();
    connect(this, &QWebEnginePage::loadingChanged, this, &WebPage::loadChanged);
    connect(this, &QWebEnginePage::renderProcessTerminated, this,
            [this] { Q_EMIT failed(u"its process has ended"_s); });
    connect(this, &QWebEnginePage::featurePermissionRequested, this,
            [this](const QUrl &origin, Feature feature) {
                setFeaturePermission(origin, feature, PermissionDeniedByUser);
            });
}

void WebPage::restrict()
{
    using Settings = QWebEngineSettings;
    for (const Settings::WebAttribute refused :
         {Settings::JavascriptCanOpenWindows, Settings::JavascriptCanAccessClipboard,
          Settings::JavascriptCanPaste, Settings::LocalStorageEnabled,
          Settings::LocalContentCanAccessFileUrls, Settings::LocalContentCanAccessRemoteUrls,
          Settings::PluginsEnabled, Settings::PdfViewerEnabled, Settings::FullScreenSupportEnabled,
          Settings::ScreenCaptureEnabled, Settings::WebGLEnabled, Settings::ErrorPageEnabled,
          Settings::HyperlinkAuditingEnabled, Settings::DnsPrefetchEnabled,
          Settings::NavigateOnDropEnabled, Settings::AllowRunningInsecureContent,
          Settings::AllowGeolocationOnInsecureOrigins,
          Settings::AllowWindowActivationFromJavaScript, Settings::FocusOnNavigationEnabled})
        settings()->setAttribute(refused, false);
    settings()->setAttribute(Settings::WebRTCPublicInterfacesOnly, true);
    // The pen has been pointed; nobody presses play as well.
    settings()->setAttribute(Settings::PlaybackRequiresUserGesture, false);
}

void WebPage::open()
{
    if (m_request.html.isEmpty()) {
        load(m_request.address);
    } else {
        watchFilms();
        setHtml(m_request.html);
    }
}

/// Beside the page and unseen by it: tells films that play or cannot be played, and keeps them from
/// growing out of the view. Of a page of our own only; on others a film is one thing among many.
void WebPage::watchFilms()
{
    m_filmFailed = QUuid::createUuid().toString();
    m_filmPlays = QUuid::createUuid().toString();
    QWebEngineScript script;
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    script.setSourceCode(uR"(
        document.addEventListener('error', event => {
            if (event.target instanceof HTMLMediaElement)
                console.log('%1');
        }, true);
        document.addEventListener('playing', event => {
            event.target.requestVideoFrameCallback(() => console.log('%2'));
        }, true);
        const sheet = new CSSStyleSheet();
        sheet.replaceSync('body { margin: 0 } video { display: block; height: 100vh }');
        document.adoptedStyleSheets = [sheet];
    )"_s.arg(m_filmFailed, m_filmPlays));
    scripts().insert(script);
}

void WebPage::javaScriptConsoleMessage(JavaScriptConsoleMessageLevel, const QString &message, int,
                                       const QString &)
{
    if (!m_filmFailed.isEmpty() && message == m_filmFailed)
        Q_EMIT failed(u"the film cannot be played"_s);
    else if (!m_filmPlays.isEmpty() && message == m_filmPlays)
        Q_EMIT playing();
}

bool WebPage::acceptNavigationRequest(const QUrl &url, NavigationType, bool isMainFrame)
{
    // Before all else comes what was asked for itself.
    if (isMainFrame && !std::exchange(m_opened, true))
        return true;
    return m_request.navigation == WebNavigation::Web && isWebAddress(url);
}

void WebPage::loadChanged(const QWebEngineLoadingInfo &info)
{
    switch (info.status()) {
    case QWebEngineLoadingInfo::LoadSucceededStatus:
        m_shown = true;
        break;
    case QWebEngineLoadingInfo::LoadFailedStatus:
        Q_EMIT failed(u"the page cannot be loaded: "_s + QString::number(info.errorCode()));
        break;
    case QWebEngineLoadingInfo::LoadStoppedStatus:
        // A link to what is no page, or one that is refused, leaves the page there is.
        if (!m_shown)
            Q_EMIT failed(u"there is no page"_s);
        break;
    case QWebEngineLoadingInfo::LoadStartedStatus:
        break;
    }
}
