#include "platform/WebEngine.h"

#include "platform/WebPage.h"

#include <QVBoxLayout>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineProfile>
#include <QWebEngineView>

#include <utility>

namespace {

/// Off the record: it has no folder.
std::unique_ptr<QWebEngineProfile> makeProfile()
{
    auto profile = std::make_unique<QWebEngineProfile>();
    profile->setHttpCacheType(QWebEngineProfile::NoCache);
    profile->setPersistentCookiesPolicy(QWebEngineProfile::NoPersistentCookies);
    profile->cookieStore()->setCookieFilter([](const auto &) { return false; });
    QObject::connect(profile.get(), &QWebEngineProfile::downloadRequested,
                     [](QWebEngineDownloadRequest *download) { download->cancel(); });
    return profile;
}

} // namespace

WebEngine::WebEngine(QWidget *parent)
    : QWidget(parent)
    , m_profile(makeProfile())
    , m_view(std::make_unique<QWebEngineView>(this))
{
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    m_view->setAcceptDrops(false);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view.get());
    setFocusProxy(m_view.get());
}

WebEngine::~WebEngine() = default;

void WebEngine::open(const WebRequest &request)
{
    // A page of its own for each: nothing that comes late from the one before reaches the next.
    auto page = std::make_unique<WebPage>(request, *m_profile);
    connect(page.get(), &WebPage::failed, this, &WebEngine::failed);
    connect(page.get(), &WebPage::playing, this, &WebEngine::playing);
    page->setBackgroundColor(palette().color(backgroundRole()));
    if (m_page)
        m_page->disconnect(this);
    m_view->setPage(page.get());
    m_page = std::move(page);
    m_page->open();
}
