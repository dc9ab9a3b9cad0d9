#include "tests/platform/URLSessionFixture.h"

#include <cerrno>
#include <cstring>

using namespace std::chrono_literals;

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

    [[nodiscard]] Told downloadOf(qint64 expectedSize)
    {
        return run(session->downloadTask({server.url("/file"), target, expectedSize}));
    }

    [[nodiscard]] QByteArray targetContent() const
    {
        QFile file(target);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

TEST_F(URLSessionDownloadTest, EndsInAFile)
{
    struct Row
    {
        const char *name;
        Reply reply;
        qint64 progressTotal; ///< totalBytesExpectedToWrite
        qint64 expectedSize = -1;
    };
    forEachRow<Row>(
        {{"SeveralReadBuffers", {.body = pattern(5 * mebibyte + 17)}, 5 * mebibyte + 17},
         {"OfTheExpectedSize", {.body = pattern(1000)}, 1000, 1000},
         {"EndToldByItsSizeAlone",
          {.body = pattern(200'000), .length = Length::Absent},
          -1,
          200'000},
         {"Chunked", {.body = pattern(200'000), .length = Length::Chunked}, -1},
         {"AnotherSuccess", {.status = 203, .body = pattern(1000)}, 1000},
         {"AfterAHint",
          {.body = "hello",
           .raw = "HTTP/1.1 103 Early Hints\r\nContent-Length: 9\r\n\r\n"
                  "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nhello"},
          5},
         {"BeforeATrailer",
          {.body = "hello",
           .raw = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
                  "5\r\nhello\r\n0\r\nContent-Length: 9\r\n\r\n"},
          -1},
         // What was asked for unencoded is taken as it comes.
         {"SaidToBeGzip", {.headers = {{"Content-Encoding", "gzip"}}, .body = pattern(9)}, 9}},
        [this](const Row &row) {
            writeOldFile();
            server.serve("/file", row.reply);
            const Told told = downloadOf(row.expectedSize);
            EXPECT_EQ(told.calls + files(), success);
            EXPECT_TRUE(told.content == row.reply.body);
            EXPECT_EQ(told.written, told.content.size());
            EXPECT_EQ(told.status(), row.reply.status);
            ASSERT_FALSE(told.progress.isEmpty());
            EXPECT_EQ(told.progress.last().total, told.content.size());
            EXPECT_EQ(told.progress.last().expected, row.progressTotal);
        });
}

TEST_F(URLSessionDownloadTest, FailsAndLeavesTheOldFileAlone)
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
    const Reply inChunks{.length = Length::Chunked};
    const char *silent = "The server was silent";
    session->setTimeout(200ms);
    forEachRow<Row>(
        {{"NotFound", {.status = 404, .body = pattern(1000)}, true, false, 0, "HTTP 404 Not Found"},
         {"NotModified", {.status = 304, .length = Length::Absent}, true, false, 0, "HTTP 304"},
         {"PartNobodyAskedFor",
          {.status = 206, .headers = {{"Content-Range", "bytes 0-3/9"}}, .body = "1234"}},
         {"Closed", cut({}), true, true, 400},
         {"DateOnly", cut({.etag = QByteArray(), .lastModified = "Mon, 06 May 2024 10:00:00 GMT"}),
          true, true, 400},
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
         {"RedirectToAFile", Reply::redirect("file:///etc/hostname"), false},
         {"RedirectToNowhere", Reply::redirect("http://127.0.0.1:1/"), false}},
        [&](const Row &row) {
            writeOldFile();
            server.serve("/file", row.reply);
            const Told told = download("/file");
            EXPECT_EQ(told.calls, failure);
            EXPECT_FALSE(told.errorText().isEmpty());
            EXPECT_TRUE(told.errorText().startsWith(QString::fromUtf8(row.text)));
            EXPECT_EQ(told.error->kind, URLError::Kind::Transfer);
            EXPECT_EQ(std::tuple(told.response.has_value(), told.isResumable(), told.written),
                      std::tuple(row.answered, row.resumable, row.written));
            EXPECT_EQ(targetContent(), "old");
            EXPECT_EQ(files().size(), row.resumable ? 2 : 1);
            recorder.forget();
        });
    session.reset();
    EXPECT_EQ(files(), QStringList(QStringLiteral("target")));
}

/// Every lie against every kind of request: each ends by itself, and none becomes a file.
TEST_F(URLSessionDownloadTest, ALyingAnswerIsNeverTheFile)
{
    struct Row
    {
        const char *name;
        QByteArray answer;
        bool isData = false; ///< may stand for an answer that is no file
        qint64 expectedSize = -1;
        Reply lie = {}; ///< sent at this pace
    };
    const auto ok = [](const QByteArray &rest) {
        return "HTTP/1.1 200 OK\r\n" + rest;
    };
    const QByteArray chunked = ok("Transfer-Encoding: chunked\r\n\r\n");
    const QByteArray manyLines = ok(QByteArray("X-Line: and another one\r\n").repeated(40'000));
    session->setTimeout(500ms);
    forEachRow<Row>(
        {{"LengthBeyondAnyPen", ok("Content-Length: 1099511627777\r\n\r\nhello")},
         {"TwoLengths", ok("Content-Length: 5\r\nContent-Length: 4\r\n\r\nhello")},
         {"LengthOfNothing", ok("Content-Length: 0\r\n\r\n"), true},
         {"NoContent", "HTTP/1.1 204 No Content\r\n\r\n", true},
         {"NoChunks", chunked + "0\r\n\r\n", true},
         {"BrokenChunk", chunked + "xyz\r\nhello\r\n0\r\n\r\n"},
         {"BrokenLaterChunk", chunked + "5\r\nhello\r\n-1\r\nhello\r\n0\r\n\r\n"},
         {"EndlessChunkSize", chunked + QByteArray(100'000, '1')},
         {"EndUntold", ok("\r\nhello"), true},
         {"ShortWithItsEndUntold", ok("\r\nhello"), true, 6},
         {"AnotherSize", ok("Content-Length: 5\r\n\r\nhello"), true, 6},
         {"AnotherSizeInChunks", chunked + "5\r\nhello\r\n0\r\n\r\n", true, 6},
         {"HeaderWithoutEnd", manyLines},
         {"HeaderThatTakesItsTime", manyLines, false, -1, {.slice = 25, .pause = 20ms}}},
        [&](const Row &row) {
            writeOldFile();
            Reply lie = row.lie;
            lie.raw = row.answer;
            server.serve("/file", lie);
            EXPECT_EQ(downloadOf(row.expectedSize).calls, failure);
            EXPECT_EQ(server.requests("/file").size(), 1) << "nothing is sent again";
            server.serve("/file", cut({}));
            const Told part = download("/file");
            server.serve("/file", lie);
            EXPECT_EQ(resume(part, "/file", row.expectedSize).calls, failure);
            for (const char *method : {"GET", "POST"})
                EXPECT_EQ(fetch("/file", method).isSuccess(), row.isData) << method;
            std::ignore = fetch("/file", "HEAD"); // comes back, whatever it says
            EXPECT_EQ(targetContent(), "old");
            recorder.forget();
            server.forgetRequests();
        });
    session.reset();
    EXPECT_EQ(files(), QStringList(QStringLiteral("target")));
}

TEST_F(URLSessionDownloadTest, ABodyWithoutEndEndsWhereTheFileShould)
{
    server.serve("/file", {.body = pattern(mebibyte), .repeat = 1000, .length = Length::Chunked});
    EXPECT_LE(downloadOf(mebibyte).written, mebibyte);
    server.serve("/file", {.body = pattern(1000)});
    EXPECT_EQ(downloadOf(1001).written, 0) << "loaded though it is another file";
    EXPECT_EQ(files(), QStringList());
}

TEST_F(URLSessionDownloadTest, AsksForTheBareFileAndCutsWhatIsOver)
{
    server.serve("/a/../file", {.body = pattern(1000), .announced = 600});
    const auto task = begin("/a/../file");
    EXPECT_EQ(run(task).content, pattern(1000).left(600)); // begun twice, sent once
    ASSERT_EQ(server.requests().size(), 1);
    const FaultServer::Request request = server.requests().first();
    EXPECT_EQ(request.method + request.header("Accept-Encoding"), "GETidentity");
    EXPECT_FALSE(request.hasHeader("Range") || request.hasHeader("If-Range"));
}

TEST_F(URLSessionDownloadTest, FollowsFiveRedirectsNotSix)
{
    QByteArray hop = "0";
    for (const int kind : {302, 301, 302, 303, 307, 308}) {
        const QByteArray next = QByteArray::number(hop.toInt() + 1);
        server.serve('/' + std::exchange(hop, next), Reply::redirect('/' + next + "?x=%20", kind));
    }
    server.serve("/6", "there");
    const auto task = newTask("/1");
    const Told told = run(task);
    EXPECT_EQ(told.content, "there");
    EXPECT_EQ(task->originalUrl(), server.url("/1"));
    EXPECT_EQ(told.response->url, server.url("/6?x=%20"));
    EXPECT_EQ(download("/0").calls, failure);
}

TEST_F(URLSessionDownloadTest, TellsProgressSparinglyButWhole)
{
    for (const Reply &reply : {Reply{.body = pattern(mebibyte), .repeat = 40},
                               Reply{.body = pattern(100), .slice = 1, .pause = 5ms}}) {
        server.serve("/file", reply);
        const Told told = download("/file");
        ASSERT_GE(told.progress.size(), 3);
        qint64 total = 0;
        for (qsizetype index = 0; index < told.progress.size(); ++index) {
            const Told::Progress &step = told.progress.at(index);
            total += step.written;
            EXPECT_TRUE(step.written > 0 && step.written < 2 * mebibyte);
            EXPECT_EQ(step.total, total);
            EXPECT_EQ(step.expected, reply.body.size() * reply.repeat);
            const bool last = index + 1 == told.progress.size();
            const bool late = index == 0 || step.time - told.progress.at(index - 1).time >= 99;
            EXPECT_TRUE(last || late || step.written >= mebibyte) << "step " << index;
        }
        EXPECT_EQ(total, reply.body.size() * reply.repeat);
        session->setTimeout(200ms); // which the bytes of the slow one put off again and again
    }
}

TEST_F(URLSessionDownloadTest, AFileThatCannotBeStoredFailsWithItsReason)
{
    FileCalls small = FileCalls::system();
    small.write = [](int, const void *, size_t) {
        errno = EFBIG;
        return ssize_t(-1);
    };
    session = std::make_unique<URLSession>(&recorder, small);
    server.serve("/file", pattern(mebibyte));
    const Told tooLarge = download("/file");
    EXPECT_EQ(tooLarge.error->file.reason, FileFailure::Reason::TooLarge);
    EXPECT_EQ(tooLarge.errorText(), QString::fromLocal8Bit(std::strerror(EFBIG)));

    const QString nowhere = temporary.filePath(QStringLiteral("gone/target"));
    const Told gone = run(session->downloadTask({server.url("/file"), nowhere}));
    EXPECT_EQ(gone.error->kind, URLError::Kind::File);
    EXPECT_EQ(gone.error->file.reason, FileFailure::Reason::Gone);
    EXPECT_FALSE(tooLarge.isResumable() || gone.isResumable());
    EXPECT_EQ(files(), QStringList());
    session.reset();
}

} // namespace
