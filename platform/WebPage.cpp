#include "platform/WebPage.h"

#include "platform/Workspace.h"

#include <QUuid>
#include <QWebEngineLoadingInfo>
#include <QWebEngineNewWindowRequest>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineSettings>

#include <initializer_list>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto gestureDuration = 5s; // a site may ask its server first where a link leads

QString siteOf(const QUrl &address)
{
    const QString host = address.host();
    return host.startsWith("www."_L1) ? host.sliced(4) : host;
}

} // namespace

WebPage::WebPage(const WebRequest &request, QWebEngineProfile &profile)
    : QWebEnginePage(&profile)
    , m_request(request)
    , m_site(siteOf(request.address))
{
    restrict();
    m_patience.setSingleShot(true);
    m_patience.setInterval(m_request.patience);
    connect(&m_patience, &QTimer::timeout, this,
            [this] { Q_EMIT failed(u"its server does not answer"_s); });
    connect(this, &QWebEnginePage::loadProgress, &m_patience, [this] {
        if (m_patience.isActive())
            m_patience.start();
    });
    connect(this, &QWebEnginePage::newWindowRequested, this, &WebPage::followIntoNewWindow);
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
        m_patience.start();
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

bool WebPage::acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame)
{
    // Before all else comes what was asked for itself.
    if (isMainFrame && !std::exchange(m_opened, true))
        return true;
    if (m_request.navigation != WebNavigation::Site || !isWebAddress(url))
        return false;
    if (!m_shown && isMainFrame && type == NavigationTypeRedirect)
        m_site = siteOf(url); // the site has moved
    if (!isMainFrame || isOfSite(url))
        return true;
    leaveSite(url);
    return false;
}

bool WebPage::isOfSite(const QUrl &url) const
{
    return url.host() == m_site || url.host().endsWith(u'.' + m_site);
}

void WebPage::personActed()
{
    m_gesture.setRemainingTime(gestureDuration);
}

void WebPage::leaveSite(const QUrl &url)
{
    if (!std::exchange(m_gesture, QDeadlineTimer()).hasExpired())
        Workspace::open(url);
}

/// There is one window: what belongs to the site takes the place of the page.
void WebPage::followIntoNewWindow(const QWebEngineNewWindowRequest &request)
{
    const QUrl url = request.requestedUrl();
    if (!request.isUserInitiated() || m_request.navigation != WebNavigation::Site
        || !isWebAddress(url))
        return;
    if (isOfSite(url))
        load(url);
    else
        leaveSite(url);
}

void WebPage::loadChanged(const QWebEngineLoadingInfo &info)
{
    switch (info.status()) {
    case QWebEngineLoadingInfo::LoadSucceededStatus:
        m_shown = true;
        m_patience.stop();
        Q_EMIT loaded();
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
