#include "tests/platform/URLSessionFixture.h"

#include <QTest>

#include <array>

namespace {

using Fault = FaultServer::Fault;
using Length = FaultServer::Length;
using Reply = FaultServer::Reply;

constexpr qsizetype mebibyte = 1024 * 1024;

class URLSessionDataTest : public URLSessionFixture
{
protected:
    [[nodiscard]] URLRequest request(const QByteArray &method, const QByteArray &path) const
    {
        URLRequest result;
        result.url = server.url(path);
        result.method = method;
        return result;
    }
};

TEST_F(URLSessionDataTest, GetsTheBody)
{
    const QByteArray body = pattern(300'000);
    server.serve("/versions", body);
    const DataTaskResult result = fetch("/versions");
    EXPECT_EQ(result.data, body);
    EXPECT_EQ(result.error, QString());
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, 200);
    EXPECT_EQ(result.response->url, server.url("/versions"));
}

TEST_F(URLSessionDataTest, SendsTheTargetAsItStands)
{
    server.serve("/medias", "[]");
    EXPECT_EQ(fetch("/medias?mids=%2212%22,%227%22&x=a%20b").data, "[]");
    EXPECT_EQ(server.requests().first().target, "/medias?mids=%2212%22,%227%22&x=a%20b");
}

TEST_F(URLSessionDataTest, PostsBodyAndHeaders)
{
    server.serve("/log", "thanks");
    URLRequest post = request("POST", "/log");
    post.headers = {{"Content-Type", "application/json"}, {"X-Pen", "7"}};
    post.body = "[\"12\"]";
    EXPECT_EQ(fetch(post).data, "thanks");
    const FaultServer::Request sent = server.requests().first();
    EXPECT_EQ(sent.method, "POST");
    EXPECT_EQ(sent.body, "[\"12\"]");
    EXPECT_EQ(sent.header("Content-Type"), "application/json");
    EXPECT_EQ(sent.header("X-Pen"), "7");
}

TEST_F(URLSessionDataTest, HeadHandsOnTheAnnouncedLength)
{
    // Longer than a body may be: that bound is not about the length of something else.
    server.serve("/big", {.body = pattern(mebibyte), .repeat = 4096});
    const DataTaskResult result = fetch(request("HEAD", "/big"));
    EXPECT_EQ(result.error, QString());
    EXPECT_EQ(result.data, QByteArray());
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->headers.value("content-length"), "4294967296");
    EXPECT_EQ(result.response->header("Content-Length"), "4294967296");
    EXPECT_EQ(server.requests().first().method, "HEAD");
}

TEST_F(URLSessionDataTest, KeepsToItself)
{
    server.serve("/first", {.headers = {{"Set-Cookie", "who=me; Path=/"}}, .body = "1"});
    server.serve("/second", "2");
    EXPECT_EQ(fetch("/first").data, "1");
    EXPECT_EQ(fetch("/second").data, "2");
    const FaultServer::Request sent = server.requests().last();
    EXPECT_FALSE(sent.hasHeader("Cookie"));
    EXPECT_EQ(sent.header("User-Agent"), "Quillo/1.6");
    EXPECT_EQ(sent.header("Accept-Encoding"), "identity");
}

TEST_F(URLSessionDataTest, AsksTheServerEveryTime)
{
    server.serveInTurn(
        "/version", {{.headers = {{"Cache-Control", "max-age=3600"}}, .body = "1"}, {.body = "2"}});
    EXPECT_EQ(fetch("/version").data, "1");
    EXPECT_EQ(fetch("/version").data, "2");
}

TEST_F(URLSessionDataTest, LeavesEncodedBodiesAlone)
{
    server.serve("/gzip", {.headers = {{"Content-Encoding", "gzip"}}, .body = "no gzip at all"});
    const DataTaskResult result = fetch("/gzip");
    EXPECT_EQ(result.error, QString());
    EXPECT_EQ(result.data, "no gzip at all");
}

class URLSessionStatusTest : public URLSessionDataTest, public testing::WithParamInterface<int>
{
};

TEST_P(URLSessionStatusTest, IsAnAnswerNotAFailure)
{
    server.serve("/status", {.status = GetParam(), .body = "the reason"});
    const DataTaskResult result = fetch("/status");
    EXPECT_EQ(result.error, QString());
    EXPECT_EQ(result.data, "the reason");
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->statusCode, GetParam());
    EXPECT_FALSE(result.response->isSuccess());
}

INSTANTIATE_TEST_SUITE_P(Http, URLSessionStatusTest,
                         testing::Values(300, 400, 401, 403, 404, 405, 407, 409, 410, 416, 418, 429,
                                         500, 501, 502, 503, 599),
                         testing::PrintToStringParamName());

struct DataFailure
{
    const char *name;
    Reply reply;
    int statusCode;    ///< 0: no response
    qsizetype arrives; ///< bytes handed on
    const char *method = "GET";
};

void PrintTo(const DataFailure &row, std::ostream *stream)
{
    *stream << row.name;
}

class URLSessionDataFailureTest : public URLSessionDataTest,
                                  public testing::WithParamInterface<DataFailure>
{
};

TEST_P(URLSessionDataFailureTest, IsTold)
{
    const DataFailure &row = GetParam();
    session->setTimeout(200);
    server.serve("/faulty", row.reply);
    const DataTaskResult result = fetch(request(row.method, "/faulty"));
    EXPECT_NE(result.error, QString());
    EXPECT_NE(result.error, QStringLiteral("Abgebrochen"));
    EXPECT_EQ(result.response ? result.response->statusCode : 0, row.statusCode);
    EXPECT_EQ(result.data, row.reply.body.left(row.arrives));
}

const DataFailure dataFailures[] = {
    {"ClosesInTheBody", {.body = pattern(1000), .fault = Fault::Close, .faultAt = 400}, 200, 400},
    {"ClosesInAnErrorBody",
     {.status = 404, .body = pattern(1000), .fault = Fault::Close, .faultAt = 400},
     404,
     400},
    {"AnnouncesTooMuch", {.body = pattern(1000), .announced = 1001}, 200, 1000},
    {"StallsInTheBody", {.body = pattern(1000), .fault = Fault::Stall, .faultAt = 400}, 200, 400},
    {"StallsBetweenChunks",
     {.body = pattern(1000), .length = Length::Chunked, .fault = Fault::Stall, .faultAt = 400},
     200,
     400},
    {"NeverAnswers", {.hold = std::make_shared<FaultServer::Gate>()}, 0, 0},
    {"NeverAnswersHead", {.hold = std::make_shared<FaultServer::Gate>()}, 0, 0, "HEAD"},
    {"ClosesBeforeTheHeader", Reply::closeBeforeHeader(), 0, 0},
    {"ClosesInTheHeader", {.raw = "HTTP/1.1 200 OK\r\nContent-Le"}, 0, 0},
    {"SpeaksSomethingElse", {.raw = QByteArray("\0\xff what is this\r\n\r\n", 20)}, 0, 0},
    {"RedirectsForever", Reply::redirect("/faulty"), 0, 0},
    {"RedirectsToAFile", Reply::redirect("file:///etc/passwd"), 0, 0},
    {"RedirectsToData", Reply::redirect("data:text/plain,hello"), 0, 0},
    {"RedirectsToAResource", Reply::redirect("qrc:/Url.plist"), 0, 0},
    {"RedirectsToFtp", Reply::redirect("ftp://127.0.0.1/x"), 0, 0},
};

INSTANTIATE_TEST_SUITE_P(Server, URLSessionDataFailureTest, testing::ValuesIn(dataFailures),
                         [](const auto &row) { return std::string(row.param.name); });

struct ForeignAddress
{
    const char *name;
    const char *address;
};

class URLSessionAddressTest : public URLSessionDataTest,
                              public testing::WithParamInterface<ForeignAddress>
{
};

TEST_P(URLSessionAddressTest, IsRefused)
{
    URLRequest refused;
    refused.url = QUrl(QString::fromUtf8(GetParam().address));
    const DataTaskResult result = fetch(refused);
    EXPECT_TRUE(result.error.startsWith(QStringLiteral("Not a web address")));
    EXPECT_EQ(result.data, QByteArray());
    EXPECT_FALSE(result.response);

    const Told told = download(refused.url);
    EXPECT_NE(told.errorText(), QString());
    EXPECT_EQ(told.calls, QStringList({QStringLiteral("metrics"), QStringLiteral("complete")}));
    EXPECT_EQ(temporaryFiles(), QStringList());
}

const ForeignAddress foreignAddresses[] = {
    {"File", "file:///etc/passwd"},
    {"Data", "data:text/plain,hello"},
    {"Resource", "qrc:/Url.plist"},
    {"Ftp", "ftp://127.0.0.1/x"},
    {"Empty", ""},
    {"PathOnly", "/versions"},
    {"NoHost", "http:///versions"},
    {"NoPlace", "about:blank"},
};

INSTANTIATE_TEST_SUITE_P(Foreign, URLSessionAddressTest, testing::ValuesIn(foreignAddresses),
                         [](const auto &row) { return std::string(row.param.name); });

class URLSessionBoundTest : public URLSessionDataTest, public testing::WithParamInterface<Length>
{
};

TEST_P(URLSessionBoundTest, ABodyOver64MiBIsAFailure)
{
    const Reply reply{.body = pattern(mebibyte), .repeat = 65, .length = GetParam()};
    server.serve("/endless", reply);
    const DataTaskResult result = fetch("/endless");
    EXPECT_NE(result.error, QString());
    EXPECT_LE(result.data.size(), 64 * mebibyte);
}

TEST_P(URLSessionBoundTest, ABodyOf64MiBIsNone)
{
    server.serve("/long", {.body = pattern(mebibyte), .repeat = 64, .length = GetParam()});
    const DataTaskResult result = fetch("/long");
    EXPECT_EQ(result.error, QString());
    EXPECT_EQ(result.data.size(), 64 * mebibyte);
}

std::string lengthName(const testing::TestParamInfo<Length> &row)
{
    constexpr std::array names{"Announced", "Absent", "Chunked"};
    return names.at(static_cast<size_t>(row.param));
}

INSTANTIATE_TEST_SUITE_P(Length, URLSessionBoundTest,
                         testing::Values(Length::Announced, Length::Absent, Length::Chunked),
                         lengthName);

TEST_F(URLSessionDataTest, AnAnswerWithoutABodyIsWhole)
{
    server.serve("/none", {.status = 204, .length = Length::Absent});
    const DataTaskResult result = fetch("/none");
    EXPECT_EQ(result.error, QString());
    EXPECT_EQ(result.response->statusCode, 204);
}

TEST_F(URLSessionDataTest, NobodyListens)
{
    URLRequest refused;
    {
        const FaultServer gone;
        refused.url = gone.url("/");
    }
    const DataTaskResult result = fetch(refused);
    EXPECT_NE(result.error, QString());
    EXPECT_FALSE(result.response);
}

} // namespace
