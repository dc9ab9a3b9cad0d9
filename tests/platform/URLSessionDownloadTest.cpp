#include "tests/platform/URLSessionFixture.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/resource.h>

namespace {

class URLSessionDownloadTest : public URLSessionFixture
{
protected:
    /// Ends or stalls after 400 bytes.
    static Reply cut(Reply reply, Fault fault = Fault::Close)
    {
        reply.body = pattern(1000);
        reply.fault = fault;
        reply.faultAt = 400;
        return reply;
    }
};

TEST_F(URLSessionDownloadTest, EndsInAFile)
{
    struct Row
    {
        const char *name;
        Reply reply;
        qint64 expected; ///< totalBytesExpectedToWrite
    };
    forEachRow<Row>(
        {{"Empty", {}, 0},
         {"SeveralReadBuffers", {.body = pattern(5 * mebibyte + 17)}, 5 * mebibyte + 17},
         {"WithoutALength", {.body = pattern(200'000), .length = Length::Absent}, -1},
         {"Chunked", {.body = pattern(200'000), .length = Length::Chunked}, -1},
         {"AnotherSuccess", {.status = 203, .body = pattern(1000), .etag = QByteArray()}, 1000},
         // What was asked for unencoded is taken as it comes.
         {"SaidToBeGzip", {.headers = {{"Content-Encoding", "gzip"}}, .body = pattern(9)}, 9}},
        [this](const Row &row) {
            server.serve("/file", row.reply);
            const Told told = download("/file");
            EXPECT_EQ(told.errorText(), QString());
            EXPECT_EQ(told.calls, success);
            EXPECT_TRUE(told.content == row.reply.body);
            EXPECT_EQ(told.written(), told.content.size());
            ASSERT_TRUE(told.response);
            EXPECT_EQ(told.response->statusCode, row.reply.status);
            if (!told.content.isEmpty()) {
                ASSERT_FALSE(told.progress.isEmpty());
                EXPECT_EQ(told.progress.last().total, told.content.size());
                EXPECT_EQ(told.progress.last().expected, row.expected);
            }
            EXPECT_EQ(temporaryFiles(), QStringList());
        });
}

TEST_F(URLSessionDownloadTest, FailsAndLeavesNothing)
{
    struct Row
    {
        const char *name;
        Reply reply;
        bool answered = true;
        bool resumable = false;
        qint64 written = 0;
        const char *text = ""; ///< how the failure's text begins
    };
    const QByteArray date = "Mon, 06 May 2024 10:00:00 GMT";
    const Reply inChunks{.length = Length::Chunked};
    const char *silent = "The server was silent";
    forEachRow<Row>(
        {{"NotFound", {.status = 404, .body = pattern(1000)}, true, false, 0, "HTTP 404 Not Found"},
         {"Unauthorised",
          {.status = 401, .headers = {{"WWW-Authenticate", "Basic realm=\"pen\""}}},
          true,
          false,
          0,
          "HTTP 401"},
         {"NotModified", {.status = 304, .length = Length::Absent}, true, false, 0, "HTTP 304"},
         {"PartNobodyAskedFor",
          {.status = 206, .headers = {{"Content-Range", "bytes 0-3/9"}}, .body = "1234"}},
         {"Closed", cut({}), true, true, 400},
         {"DateOnly", cut({.etag = QByteArray(), .lastModified = date}), true, true, 400},
         {"WeakTagAndDate", cut({.etag = "W/\"1\"", .lastModified = date}), true, true, 400},
         {"WeakTag", cut({.etag = "W/\"1\""}), true, false, 400},
         {"NoValidator", cut({.etag = QByteArray()}), true, false, 400},
         {"ClosedBeforeTheFirstByte", {.body = pattern(1000), .fault = Fault::Close}},
         {"AnnouncedTooMuch", {.body = pattern(1000), .announced = 1001}, true, true, 1000},
         {"Stalled", cut({}, Fault::Stall), true, true, 400, silent},
         {"StalledInChunks", cut(inChunks, Fault::Stall), true, true, 400, silent},
         {"ClosedBetweenChunks", cut(inChunks), true, true, 400},
         {"NeverAnswered", {.hold = std::make_shared<Gate>()}, false, false, 0, silent},
         {"ClosedBeforeTheHeader", Reply::closeBeforeHeader(), false},
         {"Garbage", {.raw = "SSH-2.0-Server\r\n\r\n"}, false},
         {"RedirectLoop", Reply::redirect("/file"), false},
         {"RedirectToAFile", Reply::redirect("file:///etc/hostname"), false},
         {"RedirectToData", Reply::redirect("data:,hello"), false},
         {"RedirectToNowhere", Reply::redirect("http://127.0.0.1:1/"), false}},
        [this](const Row &row) {
            session = std::make_unique<URLSession>(&recorder);
            session->setTimeout(200);
            server.serve("/file", row.reply);
            const Told told = download("/file");
            EXPECT_EQ(told.calls, failure);
            EXPECT_FALSE(told.errorText().isEmpty());
            EXPECT_TRUE(told.errorText().startsWith(QString::fromUtf8(row.text)))
                << told.errorText().toStdString();
            EXPECT_NE(told.errorText(), QStringLiteral("Abgebrochen"));
            EXPECT_EQ(told.response.has_value(), row.answered);
            EXPECT_EQ(told.isResumable(), row.resumable);
            EXPECT_EQ(told.written(), row.written);
            EXPECT_EQ(temporaryFiles().size(), row.resumable ? 1 : 0);
            session.reset();
            EXPECT_EQ(temporaryFiles(), QStringList());
        });
}

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

TEST_F(URLSessionDownloadTest, FollowsRedirects)
{
    server.serve("/new", pattern(1000));
    for (const int status : {301, 302, 303, 307, 308}) {
        server.serve("/old", Reply::redirect("/new?x=%20", status));
        const auto task = session->downloadTask(server.url("/old"));
        const Told told = run(task);
        EXPECT_EQ(told.content, pattern(1000)) << status;
        EXPECT_EQ(task->originalUrl(), server.url("/old"));
        EXPECT_EQ(told.response->url, server.url("/new?x=%20"));
        EXPECT_EQ(told.response->statusCode, 200);
    }
}

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
    EXPECT_TRUE(told.content == pattern(100));
    EXPECT_GE(told.progress.size(), 3);
    for (qsizetype index = 1; index + 1 < told.progress.size(); ++index)
        EXPECT_GE(told.progress.at(index).time - told.progress.at(index - 1).time, 99);
}

TEST_F(URLSessionDownloadTest, TheFileIsTheUsersOnlyAndStaysWhereItIsMoved)
{
    server.serve("/file", pattern(1000));
    const QString target = temporary.filePath(QStringLiteral("target"));
    recorder.onFinish = [&target](const QString &file) {
        EXPECT_FALSE(QFile::permissions(file) & (QFile::ReadGroup | QFile::ReadOther));
        EXPECT_TRUE(QFile::rename(file, target));
    };
    EXPECT_EQ(download("/file").calls, success);
    session.reset();
    EXPECT_EQ(temporaryFiles(), QStringList(QStringLiteral("target")));
    EXPECT_EQ(QFileInfo(target).size(), 1000);
}

TEST_F(URLSessionDownloadTest, ATaskIsHeardOfOnceItIsResumed)
{
    server.serve("/file", "x");
    const auto idle = session->downloadTask(server.url("/other"));
    const auto task = session->downloadTask(server.url("/file"));
    task->resume();
    EXPECT_EQ(run(task).calls, success);
    task->resume();
    EXPECT_EQ(download("/file").content, "x");
    EXPECT_EQ(server.requests().size(), 2);
    EXPECT_EQ(recorder.of(task).calls, success);
    EXPECT_EQ(recorder.of(idle).calls, QStringList());
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

TEST_F(URLSessionDownloadTest, ASessionWithoutADelegateJustLoads)
{
    URLSession alone;
    server.serve("/file", "x");
    alone.downloadTask(server.url("/file"))->resume();
    EXPECT_TRUE(server.waitForRequests("/file", 1));
}

} // namespace
