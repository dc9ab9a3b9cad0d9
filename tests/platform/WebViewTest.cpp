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
#include <QSemaphore>
#include <QTest>
#include <QWebEngineView>

#include <chrono>
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
            openings += address.path();
            return true;
        });
        view.setTexts({u"Not here."_s, u"Again"_s, u"Browser"_s});
        view.resize(640, 400);
        EXPECT_TRUE(server.start());
    }
    ~WebViews() override
    {
        silence.release();
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
        auto *button = view.findChild<QPushButton *>(u"browserButton"_s);
        EXPECT_FALSE(view.isRunning());
        EXPECT_TRUE(view.findChild<QLabel *>()->isVisible());
        EXPECT_EQ(button->isVisible(), !address.isEmpty());
        opened.clear();
        button->click();
        EXPECT_EQ(opened, address);
    }

    const DemoCatalogue catalogue{1, 1};
    QHash<QString, QByteArray> pages; ///< filled before they are asked for
    QSemaphore silence;
    LoopbackServer server{[this](const DemoRequest &request) {
        if (request.path == u"/silent"_s)
            (void)silence.tryAcquire(1, 10'000);
        return pages.contains(request.path)
                   ? DemoAnswer{.contentType = "text/html", .body = pages.value(request.path)}
                   : fileAnswer(catalogue, request);
    }};
    QUrl opened;
    QStringList openings;
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
    view.findChild<QPushButton *>(u"browserButton"_s)->setFocus();
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
    view.patience = std::chrono::milliseconds(500);
    view.show();
    forEachRow<Row>({{"film not there", true, url(u"none.mp4"_s)},
                     {"no film", true, url(u"page.mp4"_s)},
                     {"film of this computer", true, QUrl::fromLocalFile(here)},
                     {"page not there", false, url(u"none"_s)},
                     {"silent server", false, url(u"silent"_s)},
                     {"none", false, QUrl()},
                     {"download", false, url(u"software/firmwareV14.bin"_s)},
                     {"file of this computer", false, QUrl::fromLocalFile(here)},
                     {"script", false, QUrl(u"javascript:document.write('x')"_s)}},
                    check);
    silence.release();
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
}

/// Clicks by hand at the links of a site, each as wide as the view.
TEST_F(WebViews, aSiteIsLeftOnlyByAClickAndIntoTheBrowser)
{
    const QString elsewhere = url({}).toString().replace(u"127.0.0.1"_s, u"localhost"_s);
    QByteArray links;
    for (QString attributes :
         {u"id=ready tabindex=0"_s, u"id=tab target=_blank href=%1tab"_s,
          u"id=out href=%1out onclick='window.open(\"%1more\")'"_s,
          u"id=in target=_blank href=/in"_s, u"id=data href='data:text/html,x'"_s})
        links += "<a style='display:block;height:50px' "
                 + attributes.replace(u"%1"_s, elsewhere).toLatin1() + ">link</a>";
    pages.insert(u"/shop"_s, "<title>shop</title><body style='margin:0'>" + links);
    pages.insert(u"/in"_s, "<title>in</title>");
    view.setNavigation(WebNavigation::Site);
    view.load(url(u"shop"_s));
    view.show();
    ASSERT_TRUE(waitForTitle(u"shop"_s));
    const QString push = u"document.getElementById('%1').click()"_s;
    (void)evaluated(push.arg(u"tab"_s));
    (void)evaluated(push.arg(u"out"_s));
    (void)evaluated(u"location = '%1'"_s.arg(elsewhere));
    EXPECT_EQ(evaluated(u"document.title"_s), u"shop"_s);
    EXPECT_EQ(openings, QStringList());
    const auto click = [this](int link) {
        QWidget *surface = view.findChild<QWebEngineView *>()->focusProxy();
        QTest::mouseClick(surface, Qt::LeftButton, {}, {50, 50 * link + 25});
    };
    // One before the first frame is lost.
    EXPECT_TRUE(waitUntil(
        [&] { return click(0), evaluated(u"document.activeElement.id"_s) == u"ready"_s; }));
    click(1);
    EXPECT_TRUE(waitUntil([&] { return !openings.isEmpty(); }));
    click(2);
    EXPECT_TRUE(waitUntil([&] { return openings.size() > 1; }));
    for (const int data : {4, 4}) {
        (void)evaluated(u"document.title"_s); // what that click brings more has come
        click(data);
    }
    EXPECT_EQ(openings, (QStringList{u"/tab"_s, u"/more"_s})) << "one for each click";
    click(3);
    EXPECT_TRUE(waitForTitle(u"in"_s));
    QTest::keyClick(view.findChild<QWebEngineView *>()->focusProxy(), Qt::Key_Left,
                    Qt::AltModifier);
    EXPECT_TRUE(waitForTitle(u"shop"_s));
    EXPECT_FALSE(view.isUnavailable());
}

TEST_F(WebViews, unavailablePagesAreTriedAgain)
{
    QObject::connect(&view, &WebView::tryAgain, &view, &WebView::reload);
    pages.insert(u"/shop"_s, "<title>shop</title>");
    auto *again = view.findChild<QPushButton *>(u"tryAgainButton"_s);
    server.stop();
    view.load(url(u"shop"_s));
    view.show();
    view.activateWindow();
    ASSERT_TRUE(waitUntilUnavailable());
    again->setFocus();
    QTest::keyClick(again, Qt::Key_Space);
    EXPECT_TRUE(waitUntil([this] { return view.isRunning(); }));
    EXPECT_TRUE(waitUntil([&] { return view.isUnavailable() && again->hasFocus(); }));
    ASSERT_TRUE(server.start());
    again->click();
    EXPECT_TRUE(waitForTitle(u"shop"_s));
    EXPECT_TRUE(view.isLoaded());
}
