#include "tests/platform/URLSessionFixture.h"

using namespace std::chrono_literals;

namespace {

using URLSessionDataTest = URLSessionFixture;

/// Whether the line broke, the status and what came of the body.
std::tuple<bool, int, QByteArray> outcomeOf(const DataTaskResult &result)
{
    return {!result.error.isEmpty(), result.response ? result.response->statusCode : 0,
            result.data};
}

TEST_F(URLSessionDataTest, SendsWhatItIsGivenAndNothingOfItself)
{
    const QByteArray asked = "/log?mids=%2212%22,%227%22&x=a%20b";
    server.serveInTurn(
        "/log", {{.headers = {{"Set-Cookie", "who=me; Path=/"}, {"Cache-Control", "max-age=3600"}},
                  .body = pattern(300'000)},
                 {.body = "2"}});
    const URLRequest post{server.url(asked), "POST", {{"X-Pen", "7"}}, pattern(2 * mebibyte)};
    const DataTaskResult result = fetch(post);
    ASSERT_EQ(outcomeOf(result), std::tuple(false, 200, pattern(300'000)));
    EXPECT_EQ(result.response->url, server.url(asked));
    EXPECT_EQ(fetch(asked).data, "2") << "is asked every time";
    const auto sent = server.requests();
    EXPECT_EQ(sent.first().method + sent.first().target, "POST" + asked);
    EXPECT_TRUE(sent.first().body == pattern(2 * mebibyte));
    EXPECT_FALSE(sent.first().hasHeader("Expect"));
    EXPECT_EQ(sent.first().header("X-Pen"), "7");
    EXPECT_FALSE(sent.last().hasHeader("Cookie"));
    EXPECT_EQ(sent.last().header("User-Agent"), "Quillo/1.6");
    EXPECT_EQ(sent.last().header("Accept-Encoding"), "identity");
}

TEST_F(URLSessionDataTest, APostIsFollowedOnlyWhereItStaysOne)
{
    server.serve("/log", "ok");
    for (const int status : {301, 302, 303, 307, 308}) {
        SCOPED_TRACE(status);
        server.serve("/moved", FaultServer::Reply::redirect("/log", status));
        const DataTaskResult result = fetch({server.url("/moved"), "POST", {}, "[1]"});
        EXPECT_EQ(result.isSuccess(), status >= 307);
        EXPECT_EQ(server.requests().last().body, "[1]");
        EXPECT_EQ(server.requests().last().path(), status >= 307 ? "/log" : "/moved");
    }
}

TEST_F(URLSessionDataTest, EveryRequestIsSentOnceOverAConnectionOfItsOwn)
{
    server.serve("/log", "kept alive");
    EXPECT_EQ(fetch("/log").data, "kept alive");
    server.serve("/log", Reply::closeBeforeHeader());
    int sent = 1;
    for (const char *method : {"POST", "GET", "HEAD"}) {
        EXPECT_FALSE(fetch("/log", method).isSuccess());
        EXPECT_EQ(server.requests("/log").size(), ++sent) << method;
    }
    EXPECT_EQ(download("/log").calls, failure);
    EXPECT_EQ(server.requests("/log").size(), sent + 1);
    EXPECT_EQ(server.connections(), sent + 1);
}

TEST_F(URLSessionDataTest, ACallbackThatTakesItsTimeIsNoSilenceOfOthers)
{
    session->setTimeout(200ms);
    serveHeld();
    const auto task = begin("/held");
    ASSERT_TRUE(gate->waitUntilReached());
    session->async([this] {
        const auto end = std::chrono::steady_clock::now() + 300ms; // as a slow medium's flush
        gate->open();
        while (std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
    });
    EXPECT_EQ(run(task).errorText(), QString());
}

TEST_F(URLSessionDataTest, AsksTheProxyOfTheEnvironment)
{
    const QByteArray foreign = "http://quillo.invalid/versions";
    server.serve(foreign, "by proxy");
    qputenv("http_proxy", server.address("").toUtf8());
    const DataTaskResult result = fetch({QUrl(QString::fromLatin1(foreign)), "GET", {}, {}});
    qunsetenv("http_proxy");
    EXPECT_EQ(result.data, "by proxy");
}

TEST_F(URLSessionDataTest, AnErrorStatusIsAnAnswer)
{
    for (const int status : {300, 401, 404, 407, 416, 500, 599}) {
        const QByteArray reason = "the reason";
        server.serve("/status", {.status = status, .body = reason});
        const DataTaskResult result = fetch("/status");
        EXPECT_EQ(outcomeOf(result), std::tuple(false, status, reason));
        EXPECT_FALSE(result.isSuccess()) << status;
    }
}

TEST_F(URLSessionDataTest, FailuresAreTold)
{
    struct Row
    {
        const char *name;
        Reply reply;
        int statusCode = 0;    ///< 0: no response
        qsizetype arrives = 0; ///< bytes handed on
        bool isSilent = false;
        const char *method = "GET";
    };
    const auto broken = [](Fault fault, int status = 200) {
        return Reply{.status = status, .body = pattern(1000), .fault = fault, .faultAt = 400};
    };
    const Reply never{.hold = std::make_shared<Gate>()};
    session->setTimeout(200ms);
    forEachRow<Row>({{"ClosesInTheBody", broken(Fault::Close), 200, 400},
                     {"ClosesInAnErrorBody", broken(Fault::Close, 404), 404, 400},
                     {"AnnouncesTooMuch", {.body = pattern(1000), .announced = 1001}, 200, 1000},
                     {"StallsInTheBody", broken(Fault::Stall), 200, 400, true},
                     {"NeverAnswers", never, 0, 0, true},
                     {"NeverAnswersHead", never, 0, 0, true, "HEAD"},
                     {"ClosesInTheHeader", {.raw = "HTTP/1.1 200 OK\r\nContent-Le"}}},
                    [this](const Row &row) {
                        server.serve("/faulty", row.reply);
                        const DataTaskResult result = fetch("/faulty", row.method);
                        EXPECT_EQ(result.isSilent, row.isSilent);
                        const QByteArray part = row.reply.body.left(row.arrives);
                        EXPECT_EQ(outcomeOf(result), std::tuple(true, row.statusCode, part));
                    });
}

TEST_F(URLSessionDataTest, ForeignAddressesAreRefused)
{
    for (const char *address : {"file:///etc/passwd", "data:text/plain,hello", "qrc:/Url.plist",
                                "ftp://127.0.0.1/x", "", "/versions", "http:///versions"}) {
        SCOPED_TRACE(address);
        const QUrl url(QString::fromUtf8(address));
        const DataTaskResult result = fetch({url, "GET", {}, {}});
        EXPECT_TRUE(result.error.startsWith(QStringLiteral("Not a web address")));
        EXPECT_EQ(outcomeOf(result), std::tuple(true, 0, QByteArray()));
        EXPECT_EQ(download(url).calls + files(), failure);
    }
}

TEST_F(URLSessionDataTest, ABodyMayHave64MiBAndHeadTellsMore)
{
    for (const Length length : {Length::Announced, Length::Absent, Length::Chunked}) {
        server.serve("/long", {.body = pattern(mebibyte), .repeat = 64, .length = length});
        const DataTaskResult whole = fetch("/long");
        EXPECT_EQ(whole.error, QString());
        EXPECT_EQ(whole.data.size(), 64 * mebibyte);
        server.serve("/long", {.body = pattern(mebibyte), .repeat = 65, .length = length});
        const DataTaskResult tooLong = fetch("/long");
        EXPECT_TRUE(!tooLong.error.isEmpty() && tooLong.data.size() <= 64 * mebibyte);
        const DataTaskResult head = fetch("/long", "HEAD"); // tells the length of something else
        EXPECT_EQ(outcomeOf(head), std::tuple(false, 200, QByteArray()));
        const bool isTold = length == Length::Announced;
        EXPECT_EQ(head.response->header("Content-Length"), isTold ? "68157440" : QByteArray());
    }
}

} // namespace
