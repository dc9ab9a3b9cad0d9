#include "tests/platform/URLSessionFixture.h"

using namespace std::chrono_literals;

namespace {

constexpr qsizetype size = 300'000;
constexpr qsizetype firstPart = 100'000;
const char date[] = "Mon, 06 May 2024 10:00:00 GMT";

class URLSessionResumeTest : public URLSessionFixture
{
protected:
    URLSessionResumeTest() { session->setTimeout(2s); }

    /// A first attempt that ends after a part; those that ask for the rest get the given answers.
    [[nodiscard]] Told firstAttempt(const QList<Reply> &next, Reply first = {})
    {
        first.body = body;
        first.fault = Fault::Close;
        first.faultAt = firstPart;
        server.serve("/file", first);
        const Told told = download("/file");
        EXPECT_TRUE(told.isResumable());
        EXPECT_EQ(told.written, firstPart);
        server.serveInTurn("/file", next);
        return told;
    }

    static Reply partial(const QByteArray &contentRange)
    {
        return {.status = 206,
                .headers = {{"Content-Range", contentRange}},
                .body = pattern(size - firstPart),
                .etag = QByteArray()};
    }

    const QByteArray body = pattern(size);
};

TEST_F(URLSessionResumeTest, GoesOnWhereItStopped)
{
    // Also by a redirect, where the total was not told, and by the date where the tag is weak.
    server.serve("/moved", Reply::redirect("/file"));
    const Reply weak{.body = body, .etag = "W/\"1\"", .lastModified = date};
    for (const Reply &reply :
         {Reply{.body = body}, weak, Reply{.body = body, .length = Length::Chunked}}) {
        const Told first = firstAttempt({reply}, reply);
        const Told told = resume(first, "/moved");
        EXPECT_TRUE(told.content == body);
        EXPECT_EQ(told.status(), 206);
        EXPECT_EQ(told.written, size - firstPart);
        EXPECT_EQ(told.progress.last().total, size);
        EXPECT_EQ(told.progress.last().expected, size);
        const FaultServer::Request request = server.requests("/file").last();
        EXPECT_EQ(request.header("Range"), "bytes=100000-");
        EXPECT_EQ(request.header("Accept-Encoding"), "identity");
        const QByteArray condition = request.header("If-Range");
        EXPECT_TRUE(reply.etag ? condition == date : condition.startsWith('"'));
        EXPECT_EQ(files(), QStringList());
    }
}

TEST_F(URLSessionResumeTest, ManyTimesAlsoWhereNoAnswerOrAPartOfThePartCame)
{
    const Reply cut{.body = body, .fault = Fault::Close, .faultAt = 50'000};
    Reply part = partial("bytes 200000-249999/300000"); // looks like an end
    part.body = body.mid(200'000, 50'000);
    Told told = firstAttempt({cut, cut, Reply::closeBeforeHeader(), part, {.body = body}});
    for (int attempt = 0; attempt < 4; ++attempt) {
        told = resume(told);
        ASSERT_TRUE(told.isResumable()) << qPrintable(told.errorText());
        EXPECT_EQ(told.written, attempt == 2 ? 0 : 50'000);
        EXPECT_EQ(told.response.has_value(), attempt != 2);
    }
    EXPECT_TRUE(resume(told).content == body);
    EXPECT_EQ(server.requests().last().header("Range"), "bytes=250000-");
}

struct Row
{
    const char *name;
    FaultServer::Reply reply;
};

TEST_F(URLSessionResumeTest, StartsOverWhenThereIsAnotherFile)
{
    forEachRow<Row>({{"FileChangedToAShorterOne", {.body = pattern(1000, 2)}},
                     {"RangeIgnored", {.body = body, .ranges = Ranges::Ignored}},
                     {"TagChanged", {.body = body, .etag = "\"new\""}}},
                    [this](const Row &row) {
                        const Told first = firstAttempt({row.reply});
                        const Told told = resume(first);
                        EXPECT_EQ(told.calls + files(), success);
                        EXPECT_TRUE(told.content == row.reply.body);
                        EXPECT_EQ(told.written, row.reply.body.size());
                        EXPECT_EQ(told.progress.last().total, row.reply.body.size());
                    });
}

TEST_F(URLSessionResumeTest, AnUnfitPartFailsWithoutSplicing)
{
    forEachRow<Row>(
        {{"OfAChangedFile", {.body = pattern(size, 2), .ranges = Ranges::WithoutIfRange}},
         {"WithoutContentRange",
          {.status = 206, .body = pattern(size - firstPart), .etag = QByteArray()}},
         {"WithNonsenseAsContentRange", partial("bytes 100000-299999")},
         {"FromTheBeginning", partial("bytes 0-199999/300000")},
         {"OneByteLate", partial("bytes 100001-300000/300001")},
         {"OfAnotherTotal", partial("bytes 100000-299999/300001")},
         {"OfALengthThatIsNotItsOwn", partial("bytes 100000-299998/300000")},
         {"NotSatisfiable", {.body = pattern(1000), .ranges = Ranges::WithoutIfRange}},
         {"NotFound", {.status = 404, .body = "gone"}},
         {"AnotherSuccess", {.status = 203, .body = body}}},
        [this](const Row &row) {
            const Told first = firstAttempt({row.reply});
            const Told told = resume(first);
            EXPECT_EQ(told.calls + files(), failure);
            EXPECT_TRUE(told.error && !told.isResumable());
            EXPECT_EQ(told.written, 0);
        });
}

TEST_F(URLSessionResumeTest, AWholeRestIsNotAskedForAndStaysOnTheComputerWhenCancelled)
{
    FileCalls tight = FileCalls::system();
    tight.fstatvfs = [](int, struct statvfs *system) {
        *system = {};
        system->f_frsize = 1;
        system->f_blocks = 1000;
        return 0;
    };
    writeOldFile();
    PartialDownload whole{std::make_shared<IncomingFile>(target, tight), {}, 5};
    ASSERT_FALSE(whole.file->begin(5));
    ASSERT_FALSE(whole.file->append("hello", 5));
    const auto cancelled = session->downloadTask({server.url("/file"), target, -1, -1, whole});
    cancelled->cancel();
    EXPECT_EQ(run(cancelled).errorText(), QStringLiteral("Abgebrochen"));
    const Told told = run(session->downloadTask({server.url("/file"), target, -1, -1, whole}));
    EXPECT_EQ(told.calls, success);
    EXPECT_EQ(told.content, "hello");
    EXPECT_EQ(told.written + server.requests().size(), 5);
}

TEST_F(URLSessionResumeTest, ARestGoesWithItsLastCopy)
{
    for (const bool isSessionGone : {false, true}) {
        std::optional<Told> first = firstAttempt({{.body = body}});
        recorder.forget();
        EXPECT_EQ(files().size(), 1);
        if (isSessionGone)
            session.reset();
        first.reset();
        EXPECT_TRUE(QTest::qWaitFor([this] { return files().isEmpty(); }));
    }
}

} // namespace
