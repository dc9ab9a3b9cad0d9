#include "tests/platform/URLSessionFixture.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/resource.h>

namespace {

using Fault = FaultServer::Fault;
using Length = FaultServer::Length;
using Reply = FaultServer::Reply;

constexpr qsizetype mebibyte = 1024 * 1024;

class URLSessionDownloadTest : public URLSessionFixture
{
};

const QStringList success{QStringLiteral("finished"), QStringLiteral("metrics"),
                          QStringLiteral("complete")};
const QStringList failure{QStringLiteral("metrics"), QStringLiteral("complete")};

struct GoodDownload
{
    const char *name;
    Reply reply;
    qint64 expected; ///< totalBytesExpectedToWrite
};

class URLSessionGoodDownloadTest : public URLSessionDownloadTest,
                                   public testing::WithParamInterface<GoodDownload>
{
};

TEST_P(URLSessionGoodDownloadTest, EndsInAFile)
{
    const Reply &reply = GetParam().reply;
    server.serve("/file", reply);
    const Told told = download("/file");
    EXPECT_EQ(told.errorText(), QString());
    EXPECT_EQ(told.calls, success);
    EXPECT_TRUE(told.content == reply.body.repeated(reply.repeat));
    EXPECT_EQ(told.written(), told.content.size());
    ASSERT_TRUE(told.response);
    EXPECT_EQ(told.response->statusCode, reply.status);
    if (!told.content.isEmpty()) {
        ASSERT_FALSE(told.progress.isEmpty());
        EXPECT_EQ(told.progress.last().total, told.content.size());
        EXPECT_EQ(told.progress.last().expected, GetParam().expected);
    }
    EXPECT_EQ(temporaryFiles(), QStringList());
}

const GoodDownload goodDownloads[] = {
    {"OneByte", {.body = "x"}, 1},
    {"Empty", {}, 0},
    {"SeveralReadBuffers", {.body = pattern(5 * mebibyte + 17)}, 5 * mebibyte + 17},
    {"WithoutALength", {.body = pattern(200'000), .length = Length::Absent}, -1},
    {"Chunked", {.body = pattern(200'000), .length = Length::Chunked}, -1},
    {"AnotherSuccess", {.status = 203, .body = pattern(1000)}, 1000},
    {"NoValidator", {.body = pattern(1000), .etag = QByteArray()}, 1000},
    // What was asked for unencoded is taken as it comes.
    {"SaidToBeGzip", {.headers = {{"Content-Encoding", "gzip"}}, .body = pattern(1000)}, 1000},
    {"Slow", {.body = pattern(2000), .slice = 100, .pause = std::chrono::milliseconds(5)}, 2000},
};

INSTANTIATE_TEST_SUITE_P(Server, URLSessionGoodDownloadTest, testing::ValuesIn(goodDownloads),
                         [](const auto &row) { return std::string(row.param.name); });

struct BadDownload
{
    const char *name;
    Reply reply;
    bool answered;
    bool resumable;
    qint64 written;
    const char *text = ""; ///< how the failure's text begins
};

class URLSessionBadDownloadTest : public URLSessionDownloadTest,
                                  public testing::WithParamInterface<BadDownload>
{
};

TEST_P(URLSessionBadDownloadTest, FailsAndLeavesNothing)
{
    const BadDownload &row = GetParam();
    session->setTimeout(200);
    server.serve("/file", row.reply);
    const Told told = download("/file");
    EXPECT_EQ(told.calls, failure);
    EXPECT_FALSE(told.errorText().isEmpty());
    EXPECT_TRUE(told.errorText().startsWith(QString::fromUtf8(row.text)))
        << qPrintable(told.errorText());
    EXPECT_NE(told.errorText(), QStringLiteral("Abgebrochen"));
    EXPECT_EQ(told.response.has_value(), row.answered);
    EXPECT_EQ(told.isResumable(), row.resumable);
    EXPECT_EQ(told.written(), row.written);
    EXPECT_EQ(temporaryFiles().size(), row.resumable ? 1 : 0);
    session.reset();
    EXPECT_EQ(temporaryFiles(), QStringList());
}

Reply cut(Reply reply, Fault fault = Fault::Close)
{
    reply.body = pattern(1000);
    reply.fault = fault;
    reply.faultAt = 400;
    return reply;
}

const BadDownload badDownloads[] = {
    {"NotFound", {.status = 404, .body = pattern(1000)}, true, false, 0, "HTTP 404 Not Found"},
    {"ServerError", {.status = 500}, true, false, 0, "HTTP 500"},
    {"Unauthorised",
     {.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"pen\""}}},
     true,
     false,
     0,
     "HTTP 401"},
    {"ProxyAuthentication", {.status = 407}, true, false, 0, "HTTP 407"},
    {"NotModified", {.status = 304, .length = Length::Absent}, true, false, 0, "HTTP 304"},
    {"PartNobodyAskedFor",
     {.status = 206, .headers = {{"Content-Range", "bytes 0-3/9"}}, .body = "1234"},
     true,
     false,
     0},
    {"Closed", cut({}), true, true, 400},
    {"ClosedWithDateOnly",
     cut({.etag = QByteArray(), .lastModified = "Mon, 06 May 2024 10:00:00 GMT"}), true, true, 400},
    {"ClosedWithWeakTagAndDate",
     cut({.etag = "W/\"1\"", .lastModified = "Mon, 06 May 2024 10:00:00 GMT"}), true, true, 400},
    {"ClosedWithWeakTag", cut({.etag = "W/\"1\""}), true, false, 400},
    {"ClosedWithoutValidator", cut({.etag = QByteArray()}), true, false, 400},
    {"ClosedBeforeTheFirstByte",
     {.body = pattern(1000), .fault = Fault::Close, .faultAt = 0},
     true,
     false,
     0},
    {"AnnouncedTooMuch", {.body = pattern(1000), .announced = 1001}, true, true, 1000},
    {"Stalled", cut({}, Fault::Stall), true, true, 400, "The server was silent"},
    {"StalledInChunks", cut({.length = Length::Chunked}, Fault::Stall), true, true, 400,
     "The server was silent"},
    {"ClosedBetweenChunks", cut({.length = Length::Chunked}), true, true, 400},
    {"NeverAnswered",
     {.hold = std::make_shared<FaultServer::Gate>()},
     false,
     false,
     0,
     "The server was silent"},
    {"ClosedBeforeTheHeader", Reply::closeBeforeHeader(), false, false, 0},
    {"Garbage", {.raw = "SSH-2.0-Server\r\n\r\n"}, false, false, 0},
    {"RedirectLoop", Reply::redirect("/file"), false, false, 0},
    {"RedirectToAFile", Reply::redirect("file:///etc/hostname"), false, false, 0},
    {"RedirectToData", Reply::redirect("data:,hello"), false, false, 0},
    {"RedirectToNowhere", Reply::redirect("http://127.0.0.1:1/"), false, false, 0},
};

INSTANTIATE_TEST_SUITE_P(Server, URLSessionBadDownloadTest, testing::ValuesIn(badDownloads),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(URLSessionDownloadTest, ResetInTheBodyIsAFailure)
{
    server.serve("/file",
                 {.body = pattern(4 * mebibyte), .fault = Fault::Reset, .faultAt = mebibyte});
    const Told told = download("/file");
    EXPECT_EQ(told.calls, failure);
    EXPECT_FALSE(told.errorText().isEmpty());
    EXPECT_LE(told.written(), mebibyte);
}

TEST_F(URLSessionDownloadTest, CutsWhatIsOverTheAnnouncedLength)
{
    server.serve("/file", {.body = pattern(1000), .announced = 600});
    const Told told = download("/file");
    EXPECT_EQ(told.calls, success);
    EXPECT_EQ(told.content, pattern(1000).left(600));
}

TEST_F(URLSessionDownloadTest, AsksForTheBareFile)
{
    server.serve("/file", "x");
    EXPECT_EQ(download("/file").content, "x");
    const FaultServer::Request request = server.requests().first();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.header("Accept-Encoding"), "identity");
    EXPECT_EQ(request.header("User-Agent"), "Quillo/1.6");
    EXPECT_FALSE(request.hasHeader("Range"));
    EXPECT_FALSE(request.hasHeader("If-Range"));
}

class URLSessionRedirectTest : public URLSessionDownloadTest,
                               public testing::WithParamInterface<int>
{
};

TEST_P(URLSessionRedirectTest, IsFollowed)
{
    server.serve("/old", Reply::redirect("/new?x=%20", GetParam()));
    server.serve("/new", pattern(1000));
    const auto task = session->downloadTask(server.url("/old"));
    const Told told = run(task);
    EXPECT_EQ(told.content, pattern(1000));
    EXPECT_EQ(task->originalUrl(), server.url("/old"));
    EXPECT_EQ(told.response->url, server.url("/new?x=%20"));
    EXPECT_EQ(told.response->statusCode, 200);
}

INSTANTIATE_TEST_SUITE_P(Status, URLSessionRedirectTest, testing::Values(301, 302, 303, 307, 308),
                         testing::PrintToStringParamName());

TEST_F(URLSessionDownloadTest, FollowsFiveRedirectsNotSix)
{
    for (int hop = 0; hop < 6; ++hop)
        server.serve("/" + QByteArray::number(hop),
                     Reply::redirect("/" + QByteArray::number(hop + 1)));
    server.serve("/6", "there");
    EXPECT_EQ(download("/1").content, "there");
    EXPECT_EQ(download("/0").calls, failure);
}

TEST_F(URLSessionDownloadTest, TellsProgressSparinglyButWhole)
{
    const qint64 size = 40 * mebibyte;
    server.serve("/file", {.body = pattern(mebibyte), .repeat = 40});
    const Told told = download("/file");
    ASSERT_FALSE(told.progress.isEmpty());
    qint64 total = 0;
    for (qsizetype index = 0; index < told.progress.size(); ++index) {
        const Told::Progress &step = told.progress.at(index);
        total += step.written;
        EXPECT_GT(step.written, 0);
        EXPECT_LT(step.written, mebibyte + 64 * 1024);
        EXPECT_EQ(step.total, total);
        EXPECT_EQ(step.expected, size);
        const bool last = index + 1 == told.progress.size();
        const bool late = index == 0 || step.time - told.progress.at(index - 1).time >= 99;
        EXPECT_TRUE(last || late || step.written >= mebibyte) << "step " << index;
    }
    EXPECT_EQ(total, size);
}

TEST_F(URLSessionDownloadTest, TellsProgressOfASlowTransferEvery100Milliseconds)
{
    server.serve("/file",
                 {.body = pattern(100), .slice = 1, .pause = std::chrono::milliseconds(5)});
    const Told told = download("/file");
    EXPECT_EQ(told.written(), 100);
    EXPECT_GE(told.progress.size(), 3);
    for (qsizetype index = 1; index + 1 < told.progress.size(); ++index)
        EXPECT_GE(told.progress.at(index).time - told.progress.at(index - 1).time, 99);
}

TEST_F(URLSessionDownloadTest, AFileMovedAwayStays)
{
    server.serve("/file", pattern(1000));
    const QString target = temporary.filePath(QStringLiteral("target"));
    recorder.onFinish = [&target](const QString &file) {
        EXPECT_TRUE(QFile::rename(file, target));
    };
    EXPECT_EQ(download("/file").calls, success);
    session.reset();
    EXPECT_EQ(temporaryFiles(), QStringList(QStringLiteral("target")));
    EXPECT_EQ(QFileInfo(target).size(), 1000);
}

TEST_F(URLSessionDownloadTest, TheFileIsTheUsersOnly)
{
    server.serve("/file", "secret");
    QFile::Permissions permissions;
    recorder.onFinish = [&](const QString &file) {
        permissions = QFile::permissions(file);
    };
    EXPECT_EQ(download("/file").calls, success);
    EXPECT_FALSE(permissions & (QFile::ReadGroup | QFile::ReadOther));
}

TEST_F(URLSessionDownloadTest, AFullDiskFailsInTheSystemsWords)
{
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{.rlim_cur = 100'000, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    server.serve("/file", pattern(mebibyte));
    const Told told = download("/file");
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(told.calls, failure);
    EXPECT_EQ(told.errorText(), QString::fromLocal8Bit(std::strerror(EFBIG)));
    EXPECT_FALSE(told.isResumable());
    EXPECT_EQ(temporaryFiles(), QStringList());
}

TEST_F(URLSessionDownloadTest, AnUnusableTemporaryFolderFailsInTheSystemsWords)
{
    QFile notAFolder(temporary.filePath(QStringLiteral("file")));
    ASSERT_TRUE(notAFolder.open(QIODevice::WriteOnly));
    qputenv("TMPDIR", notAFolder.fileName().toUtf8());
    server.serve("/file", "x");
    const Told told = download("/file");
    EXPECT_EQ(told.calls, failure);
    EXPECT_EQ(told.errorText(), QString::fromLocal8Bit(std::strerror(ENOTDIR)));
    EXPECT_EQ(server.requests().size(), 0);
}

TEST_F(URLSessionDownloadTest, ATaskThatIsNeverResumedIsNeverHeardOf)
{
    server.serve("/file", "x");
    const auto idle = session->downloadTask(server.url("/other"));
    EXPECT_EQ(download("/file").content, "x");
    session->cancelAllTasks();
    EXPECT_EQ(download("/file").content, "x");
    EXPECT_EQ(recorder.of(idle).calls, QStringList());
    EXPECT_EQ(server.requests("/other").size(), 0);
}

TEST_F(URLSessionDownloadTest, ASecondResumeDoesNothing)
{
    server.serve("/file", "x");
    const auto task = session->downloadTask(server.url("/file"));
    task->resume();
    EXPECT_EQ(run(task).calls, success);
    task->resume();
    EXPECT_EQ(download("/file").content, "x");
    EXPECT_EQ(server.requests().size(), 2);
    EXPECT_EQ(recorder.of(task).calls, success);
}

TEST_F(URLSessionDownloadTest, ASessionWithoutADelegateJustLoads)
{
    URLSession alone;
    server.serve("/file", "x");
    alone.downloadTask(server.url("/file"))->resume();
    EXPECT_TRUE(server.waitForRequests("/file", 1));
}

} // namespace
