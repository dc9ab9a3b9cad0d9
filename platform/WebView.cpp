#include "platform/WebView.h"

#include "platform/StandardOutput.h"
#include "platform/WebEngine.h"
#include "platform/WebEngineStart.h"
#include "platform/Workspace.h"

#include <QHideEvent>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>
#include <QVBoxLayout>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;

WebView::WebView(QWidget *parent)
    : QWidget(parent)
    , m_fallback(new QWidget(this))
    , m_fallbackLabel(new QLabel(m_fallback))
    , m_tryAgainButton(new QPushButton(m_fallback))
    , m_browserButton(new QPushButton(m_fallback))
{
    buildFallback();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_fallback);
    m_start.setSingleShot(true);
    connect(&m_start, &QTimer::timeout, this, &WebView::start);
}

WebView::~WebView()
{
    // What its page says when it goes must not reach a view of which only the widget is left.
    if (m_engine)
        m_engine->disconnect(this);
    delete m_engine;
}

void WebView::buildFallback()
{
    m_fallbackLabel->setAlignment(Qt::AlignCenter);
    m_fallbackLabel->setTextFormat(Qt::PlainText);
    m_fallbackLabel->setWordWrap(true);
    m_tryAgainButton->setObjectName(u"tryAgainButton"_s);
    m_browserButton->setObjectName(u"browserButton"_s);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    for (QPushButton *button : {m_tryAgainButton, m_browserButton}) {
        button->setAutoDefault(true);
        buttons->addWidget(button);
    }
    buttons->addStretch();
    connect(m_tryAgainButton, &QPushButton::clicked, this, &WebView::tryAgain);
    connect(m_browserButton, &QPushButton::clicked, this, &WebView::openInBrowser);
    auto *layout = new QVBoxLayout(m_fallback);
    layout->addStretch();
    layout->addWidget(m_fallbackLabel);
    layout->addLayout(buttons);
    layout->addStretch();
    m_fallback->hide();
}

void WebView::setTexts(const Texts &texts)
{
    m_fallbackLabel->setText(texts.unavailable);
    m_tryAgainButton->setText(texts.tryAgain);
    m_tryAgainButton->setAccessibleDescription(texts.unavailable);
    m_browserButton->setText(texts.openInBrowser);
    if (m_engine)
        m_engine->focusProxy()->setAccessibleName(accessibleName());
}

void WebView::loadHTML(const QString &html, const QUrl &address)
{
    m_asked = true;
    m_request = {
        .html = html, .address = address, .navigation = m_navigation, .patience = patience};
    reload();
}

void WebView::load(const QUrl &address)
{
    loadHTML(QString(), address);
}

void WebView::reload()
{
    m_loaded = false;
    m_playing = false;
    if (isVisible())
        m_start.start(0);
}

bool WebView::isRunning() const
{
    return m_engine != nullptr;
}

bool WebView::isUnavailable() const
{
    return !m_fallback->isHidden();
}

void WebView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (!event->spontaneous())
        reload();
}

void WebView::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    if (!event->spontaneous()) // a window that is made small plays on
        stop();
}

void WebView::start()
{
    if (!m_asked)
        return;
    if (m_request.html.isEmpty() && !isWebAddress(m_request.address)) {
        fail(u"not an address of the web"_s);
        return;
    }
    if (!m_engine) {
        if (const std::optional<QString> obstacle = webEngineObstacle()) {
            fail(*obstacle);
            return;
        }
        makeEngine();
    }
    m_fallback->hide();
    m_engine->open(m_request);
}

void WebView::makeEngine()
{
    const bool focused = m_fallback->isAncestorOf(window()->focusWidget());
    m_engine = new WebEngine(this);
    m_engine->focusProxy()->setAccessibleName(accessibleName());
    connect(m_engine, &WebEngine::loaded, this, [this] { m_loaded = !m_start.isActive(); });
    connect(m_engine, &WebEngine::failed, this, &WebView::fail);
    connect(m_engine, &WebEngine::playing, this, [this] {
        m_playing = !m_start.isActive(); // else of the page before
        if (m_playing)
            Q_EMIT playing();
    });
    layout()->addWidget(m_engine);
    setTabOrder(this, m_engine->focusProxy());
    m_engine->show();
    if (focused)
        m_engine->setFocus();
}

void WebView::stop()
{
    m_start.stop();
    m_loaded = false;
    m_playing = false;
    m_fallback->hide();
    if (!m_engine)
        return;
    m_engine->hide();
    m_engine->disconnect(this);
    // Perhaps it is the engine that calls. Not later than in the next turn, also of an inner loop:
    // until then the sound goes on.
    const auto end = [engine = std::exchange(m_engine, nullptr)] {
        delete engine.data();
    };
    QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
}

void WebView::fail(const QString &reason)
{
    debugPrint(u"No web view: "_s + reason);
    const bool focused = m_engine && m_engine->isAncestorOf(window()->focusWidget());
    stop();
    m_browserButton->setVisible(isWebAddress(m_request.address));
    m_fallback->show();
    if (focused)
        m_tryAgainButton->setFocus();
}

void WebView::openInBrowser()
{
    if (isWebAddress(m_request.address))
        Workspace::open(m_request.address);
}
