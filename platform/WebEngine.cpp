#include "platform/WebEngine.h"

#include "platform/WebPage.h"

#include <QChildEvent>
#include <QGridLayout>
#include <QProgressBar>
#include <QShortcut>
#include <QWebEngineCookieStore>
#include <QWebEngineDownloadRequest>
#include <QWebEngineProfile>
#include <QWebEngineView>

#include <utility>

namespace {

constexpr int progressHeight = 4;

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
    , m_progress(new QProgressBar(this))
{
    m_view->setContextMenuPolicy(Qt::NoContextMenu);
    m_view->setAcceptDrops(false);
    m_view->installEventFilter(this);
    auto *layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view.get(), 0, 0);
    addProgress();
    setFocusProxy(m_view.get());
    const auto *back = new QShortcut(QKeySequence::Back, this);
    connect(back, &QShortcut::activated, this,
            [this] { m_page->triggerAction(QWebEnginePage::Back); });
}

/// A thin line above the page, for what takes its time.
void WebEngine::addProgress()
{
    m_progress->setFixedHeight(progressHeight);
    m_progress->setTextVisible(false);
    m_progress->hide();
    static_cast<QGridLayout *>(layout())->addWidget(m_progress, 0, 0, Qt::AlignTop);
    m_progress->raise();
}

void WebEngine::showProgress(const WebPage &page)
{
    connect(&page, &WebPage::loadStarted, m_progress, &QWidget::show);
    connect(&page, &WebPage::loadProgress, m_progress, &QProgressBar::setValue);
    connect(&page, &WebPage::loadFinished, m_progress, &QWidget::hide);
}

/// What the person does reaches a widget inside the view, another one for every page.
bool WebEngine::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::ChildAdded:
        static_cast<QChildEvent *>(event)->child()->installEventFilter(this);
        break;
    case QEvent::MouseButtonPress:
    case QEvent::KeyPress:
    case QEvent::TouchBegin:
        if (m_page)
            m_page->personActed();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

WebEngine::~WebEngine() = default;

void WebEngine::open(const WebRequest &request)
{
    // A page of its own for each: nothing that comes late from the one before reaches the next.
    auto page = std::make_unique<WebPage>(request, *m_profile);
    connect(page.get(), &WebPage::loaded, this, &WebEngine::loaded);
    connect(page.get(), &WebPage::failed, this, &WebEngine::failed);
    connect(page.get(), &WebPage::playing, this, &WebEngine::playing);
    m_progress->hide();
    if (request.html.isEmpty())
        showProgress(*page);
    page->setBackgroundColor(palette().color(backgroundRole()));
    if (m_page)
        m_page->disconnect(this);
    m_view->setPage(page.get());
    m_page = std::move(page);
    m_page->open();
}
