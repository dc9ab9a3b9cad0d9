#include "platform/WebView.h"

#include "tests/support/Printers.h"
#include "tests/support/Rows.h"
#include "tests/support/WebTest.h"

#include "demo/DemoAnswers.h"
#include "demo/DemoCatalogue.h"
#include "pen/URLFactory.h"
#include "platform/Workspace.h"

#include <QDirIterator>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QWebEngineView>

#include <atomic>
#include <csignal>

using namespace Qt::StringLiterals;

namespace {

class WebViews : public WebTest
{
protected:
    WebViews()
    {
        Workspace::setOpener([this](const QUrl &address) {
            opened = address;
            return true;
        });
        view.setTexts({u"Not here."_s, u"Browser"_s});
        view.resize(640, 400);
        EXPECT_TRUE(server.start());
    }
    ~WebViews() override
    {
        Workspace::setOpener({});
        qunsetenv("QTWEBENGINEPROCESS_PATH");
    }

    [[nodiscard]] QUrl url(const QString &path) const
    {
        return QUrl(u"http://127.0.0.1:%1/%2"_s.arg(server.port()).arg(path));
    }
    void loadFilm(const QString &address)
    {
        view.loadHTML(URLFactory::getVideoHTML(address), QUrl(address));
    }
    [[nodiscard]] QWebEnginePage *page() const
    {
        auto *engine = view.findChild<QWebEngineView *>();
        return engine != nullptr ? engine->page() : nullptr;
    }
    [[nodiscard]] QVariant evaluated(const QString &script) const
    {
        return page() != nullptr ? evaluate(*page(), script) : QVariant();
    }
    [[nodiscard]] bool waitForTitle(const QString &title) const
    {
        return waitUntil(
            [&] { return page() && page()->title() == title && !page()->isLoading(); });
    }
    [[nodiscard]] bool waitUntilUnavailable() const
    {
        return waitUntil([this] { return view.isUnavailable(); });
    }
    /// Waits until the film plays and its time advances; the process of its page.
    [[nodiscard]] qint64 playing()
    {
        // Not by asking the page: that would keep it from its work.
        EXPECT_TRUE(waitUntil([this] { return page() && page()->recentlyAudible(); }));
        const QString time = u"document.querySelector('video').currentTime"_s;
        const double before = evaluated(time).toDouble();
        EXPECT_TRUE(waitUntil([&] { return evaluated(time).toDouble() > before; }));
        return page() ? page()->renderProcessPid() : 0;
    }
    [[nodiscard]] static bool waitUntilGone(qint64 process)
    {
        const QString program = u"/proc/%1/exe"_s.arg(process); // none of what has ended
        return waitUntil([&] { return QFile::symLinkTarget(program).isEmpty(); });
    }
    /// The text stands there, and the button leads to `address`, or is not there without one.
    void expectFallback(const QUrl &address)
    {
        auto *button = view.findChild<QPushButton *>();
        EXPECT_FALSE(view.isRunning());
        EXPECT_TRUE(view.findChild<QLabel *>()->isVisible());
        EXPECT_EQ(button->isVisible(), !address.isEmpty());
        opened.clear();
        button->click();
        EXPECT_EQ(opened, address);
    }

    const DemoCatalogue catalogue{1, 1};
    QHash<QString, QByteArray> pages; ///< filled before they are asked for
    std::atomic<bool> askedForTab = false;
    LoopbackServer server{[this](const DemoRequest &request) {
        askedForTab = askedForTab || request.path == u"/new"_s;
        return pages.contains(request.path)
                   ? DemoAnswer{.contentType = "text/html", .body = pages.value(request.path)}
                   : fileAnswer(catalogue, request);
    }};
    QUrl opened;
    WebView view;
};

} // namespace

TEST(WebEngineObstacles, AreFoundBeforeTheEngineEndsTheProgram)
{
    struct Row
    {
        const char *name;
        bool root;
        bool sandboxOff;
        bool possible;
        QString program;
        bool starts;
    };
    const QString program = u"/usr/libexec/engine"_s;
    forEachRow<Row>({{"somebody", false, false, true, program, true},
                     {"no namespaces", false, false, false, program, false},
                     {"no namespaces, none wanted", false, true, false, program, true},
                     {"root", true, false, true, program, false},
                     {"root without a sandbox", true, true, false, program, true},
                     {"no process program", false, true, true, {}, false}},
                    [](const Row &row) {
                        const WebEngineSurroundings here{row.root, row.sandboxOff,
                                                         [&] { return row.possible; }, row.program};
                        EXPECT_EQ(!webEngineObstacle(here), row.starts);
                    });
}

TEST_F(WebViews, withoutItsProcessProgramTheBrowserIsOffered)
{
    const QUrl film = url(u"video.mp4"_s);
    qputenv("QTWEBENGINEPROCESS_PATH", "/nowhere");
    loadFilm(film.toString());
    QWidget window;
    QPushButton other(&window);
    view.setParent(&window);
    window.show();
    ASSERT_TRUE(waitUntilUnavailable());
    expectFallback(film);
    view.findChild<QPushButton *>()->setFocus();
    other.setFocus();
    qunsetenv("QTWEBENGINEPROCESS_PATH");
    view.reload();
    EXPECT_TRUE(waitUntil([this] { return view.isRunning(); }));
    EXPECT_EQ(window.focusWidget(), &other) << "the keyboard stays";
    view.setParent(nullptr);
}

TEST_F(WebViews, onlyShownTheyPlayAndADeadProcessIsNoCrash)
{
    const QUrl film = url(u"video.mp4"_s);
    loadFilm(film.toString());
    EXPECT_FALSE(view.isRunning());
    view.show();
    const qint64 first = playing();
    view.hide();
    EXPECT_FALSE(view.isRunning());
    EXPECT_TRUE(waitUntilGone(first));
    EXPECT_EQ(page(), nullptr);

    view.show();
    const qint64 second = playing();
    EXPECT_NE(first, second);
    kill(pid_t(second), SIGKILL);
    ASSERT_TRUE(waitUntilUnavailable());
    expectFallback(film);
    view.reload();
    EXPECT_GT(playing(), 0);
    EXPECT_FALSE(view.isUnavailable());

    QDirIterator home(qEnvironmentVariable("HOME"), QDir::Files, QDirIterator::Subdirectories);
    while (home.hasNext()) // of the toolkit and the graphics driver
        EXPECT_TRUE(home.next().contains(u"shader"_s)) << qPrintable(home.filePath());
}

TEST_F(WebViews, whatCannotBeShownSaysSo)
{
    struct Row
    {
        const char *name;
        bool film;
        QUrl address;
    };
    const auto check = [this](const Row &row) {
        if (row.film)
            loadFilm(row.address.toString());
        else
            view.load(row.address);
        ASSERT_TRUE(waitUntilUnavailable());
        expectFallback(isWebAddress(row.address) ? row.address : QUrl());
        loadFilm(url(u"video.mp4"_s).toString());
        EXPECT_GT(playing(), 0) << "the next one plays";
    };
    QFile film(u":/demo/video.mp4"_s);
    const QString here = qEnvironmentVariable("HOME") + u"/video.mp4"_s;
    ASSERT_TRUE(film.copy(here));
    pages.insert(u"/page.mp4"_s, "<p>no film");
    view.show();
    forEachRow<Row>({{"film not there", true, url(u"none.mp4"_s)},
                     {"no film", true, url(u"page.mp4"_s)},
                     {"film of this computer", true, QUrl::fromLocalFile(here)},
                     {"page not there", false, url(u"none"_s)},
                     {"download", false, url(u"software/firmwareV14.bin"_s)},
                     {"file of this computer", false, QUrl::fromLocalFile(here)},
                     {"script", false, QUrl(u"javascript:document.write('x')"_s)}},
                    check);
    server.stop();
    loadFilm(url(u"video.mp4"_s).toString());
    ASSERT_TRUE(waitUntilUnavailable());
    expectFallback(url(u"video.mp4"_s));
}

TEST_F(WebViews, pagesKeepToThemselves)
{
    struct Row
    {
        const char *name;
        QString script;
        QVariant result;
    };
    pages.insert(u"/other"_s, "<title>other</title>");
    pages.insert(u"/shop"_s, "<title>shop</title><a id=new target=_blank href=/new style='"
                             "position:fixed;top:0;left:0;width:100%;height:50%'>new</a>"
                             "<a id=here href=/other>here</a><input type=file id=file>");
    const QString click = u"document.getElementById('%1').click(), document.title"_s;
    view.show();
    view.load(url(u"shop"_s));
    ASSERT_TRUE(waitForTitle(u"shop"_s));
    const std::initializer_list<Row> rows = {
        {"window", u"window.open('/other') === null"_s, true},
        {"alert", u"alert('?') === undefined"_s, true},
        {"confirm", u"confirm('?')"_s, false},
        {"prompt", u"prompt('?') === null"_s, true},
        {"storage", u"try { !window.localStorage } catch (e) { true }"_s, true},
        {"cookie", u"document.cookie = 'a=b', document.cookie"_s, QString()},
        {"copy", u"document.execCommand('copy')"_s, false},
        {"file", click.arg(u"file"_s), u"shop"_s},
        {"new tab", click.arg(u"new"_s), u"shop"_s},
        {"elsewhere", click.arg(u"here"_s), u"shop"_s},
        {"asked for a permission",
         u"navigator.geolocation.getCurrentPosition(() => 0, e => document.body.id = 'no' + e.code)"_s,
         {}}};
    forEachRow<Row>(rows, [this](const Row &row) { EXPECT_EQ(evaluated(row.script), row.result); });
    EXPECT_TRUE(waitUntil([&] { return evaluated(u"document.body.id"_s) == u"no1"_s; }));
    EXPECT_EQ(evaluated(u"document.title"_s), u"shop"_s);
    EXPECT_EQ(QApplication::topLevelWidgets().size(), 1);

    view.setNavigation(WebNavigation::Web);
    view.load(url(u"shop"_s));
    const QWebEnginePage *before = page();
    ASSERT_TRUE(waitUntil([&] { return page() != before; }));
    ASSERT_TRUE(waitForTitle(u"shop"_s));
    // A click by hand, which opens tabs elsewhere; one before the first frame is lost.
    EXPECT_TRUE(waitUntil([&] {
        QWidget *surface = view.findChild<QWebEngineView *>()->focusProxy();
        QTest::mouseClick(surface, Qt::LeftButton, {}, {50, 50});
        return evaluated(u"document.activeElement.id"_s) == u"new"_s;
    }));
    (void)evaluated(u"location = 'data:text/html,<title>data'"_s);
    (void)evaluated(click.arg(u"here"_s));
    EXPECT_TRUE(waitForTitle(u"other"_s));
    EXPECT_FALSE(view.isUnavailable() || askedForTab);
}
