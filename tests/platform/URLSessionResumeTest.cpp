#include "tests/platform/URLSessionFixture.h"

#include "platform/ResumeData.h"

#include <QDir>
#include <QFile>

namespace {

constexpr qsizetype size = 300'000;
constexpr qsizetype firstPart = 100'000;
const char date[] = "Mon, 06 May 2024 10:00:00 GMT";

class URLSessionResumeTest : public URLSessionFixture
{
protected:
    URLSessionResumeTest() { session->setTimeout(2000); }

    /// A first attempt that ends after a part; those that ask for the rest get the given answers.
    [[nodiscard]] Told firstAttempt(const QList<Reply> &next, Reply first = {})
    {
        first.body = body;
        first.fault = Fault::Close;
        first.faultAt = firstPart;
        server.serve("/file", first);
        const Told told = download("/file");
        EXPECT_TRUE(told.isResumable());
        EXPECT_EQ(told.written(), firstPart);
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

    /// Going on with the first attempt takes the whole file again.
    void expectAnew(const Told &first)
    {
        EXPECT_TRUE(resume(*first.error->resumeData).content == body);
        EXPECT_FALSE(server.requests().last().hasHeader("Range"));
        EXPECT_EQ(temporaryFiles(), QStringList());
    }

    [[nodiscard]] QString partialFile() const
    {
        return temporary.filePath(temporaryFiles().value(0));
    }

    const QByteArray body = pattern(size);
};

TEST_F(URLSessionResumeTest, GoesOnWhereItStopped)
{
    const Told first = firstAttempt({{.body = body}});
    const auto task = session->downloadTask(*first.error->resumeData);
    EXPECT_EQ(task->originalUrl(), server.url("/file"));
    const Told told = run(task);
    EXPECT_EQ(told.errorText(), QString());
    EXPECT_TRUE(told.content == body);
    EXPECT_EQ(told.response->statusCode, 206);
    EXPECT_EQ(told.written(), size - firstPart);
    EXPECT_EQ(told.progress.last().total, size);
    EXPECT_EQ(told.progress.last().expected, size);
    const FaultServer::Request request = server.requests().last();
    EXPECT_EQ(request.header("Range"), "bytes=100000-");
    EXPECT_TRUE(request.header("If-Range").startsWith('"'));
    EXPECT_EQ(request.header("Accept-Encoding"), "identity");
    EXPECT_EQ(temporaryFiles(), QStringList());
}

TEST_F(URLSessionResumeTest, UsesTheDateWhereTheTagIsWeak)
{
    const Reply weak{.body = body, .etag = "W/\"1\"", .lastModified = date};
    const Told first = firstAttempt({weak}, weak);
    EXPECT_TRUE(resume(*first.error->resumeData).content == body);
    EXPECT_EQ(server.requests().last().header("If-Range"), date);
}

TEST_F(URLSessionResumeTest, ManyTimes)
{
    QList<Reply> replies;
    for (int attempt = 0; attempt < 3; ++attempt)
        replies.append({.body = body, .fault = Fault::Close, .faultAt = 50'000});
    replies.append({.body = body});
    Told told = firstAttempt(replies);
    for (int attempt = 0; attempt < 3; ++attempt) {
        told = resume(*told.error->resumeData);
        ASSERT_TRUE(told.isResumable()) << qPrintable(told.errorText());
        EXPECT_EQ(temporaryFiles().size(), 1);
    }
    EXPECT_TRUE(resume(*told.error->resumeData).content == body);
    EXPECT_EQ(server.requests().last().header("Range"), "bytes=250000-");
}

TEST_F(URLSessionResumeTest, AnAttemptWithoutAnAnswerKeepsWhatThereIs)
{
    // Not counted in turns: the network layer sends such a request more than once.
    const Told first = firstAttempt({Reply::closeBeforeHeader()});
    const Told second = resume(*first.error->resumeData);
    ASSERT_TRUE(second.isResumable());
    EXPECT_FALSE(second.response);
    server.serve("/file", body);
    EXPECT_TRUE(resume(*second.error->resumeData).content == body);
    EXPECT_EQ(server.requests().last().header("Range"), "bytes=100000-");
}

TEST_F(URLSessionResumeTest, FollowsARedirectWithItsRange)
{
    server.serve("/moved", Reply::redirect("/file"));
    server.serveInTurn(
        "/file", {{.body = body, .fault = Fault::Close, .faultAt = firstPart}, {.body = body}});
    const Told first = download("/moved");
    ASSERT_TRUE(first.isResumable());
    EXPECT_TRUE(resume(*first.error->resumeData).content == body);
    EXPECT_EQ(server.requests("/moved").last().header("Range"), "bytes=100000-");
    EXPECT_EQ(server.requests("/file").last().header("Range"), "bytes=100000-");
}

TEST_F(URLSessionResumeTest, StartsOverWhenThereIsAnotherFile)
{
    struct Row
    {
        const char *name;
        Reply reply;
    };
    forEachRow<Row>({{"FileChangedToAShorterOne", {.body = pattern(1000, 2)}},
                     {"RangeIgnored", {.body = body, .ranges = Ranges::Ignored}},
                     {"TagChanged", {.body = body, .etag = "\"new\""}}},
                    [this](const Row &row) {
                        const Told first = firstAttempt({row.reply});
                        const Told told = resume(*first.error->resumeData);
                        EXPECT_EQ(told.errorText(), QString());
                        EXPECT_TRUE(told.content == row.reply.body);
                        EXPECT_EQ(told.written(), row.reply.body.size());
                        EXPECT_EQ(told.progress.last().total, row.reply.body.size());
                        EXPECT_EQ(temporaryFiles(), QStringList());
                    });
}

TEST_F(URLSessionResumeTest, AnUnfitPartFailsWithoutSplicing)
{
    struct Row
    {
        const char *name;
        Reply reply;
    };
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
            const Told told = resume(*first.error->resumeData);
            EXPECT_EQ(told.calls, failure);
            EXPECT_FALSE(told.errorText().isEmpty());
            EXPECT_FALSE(told.isResumable());
            EXPECT_EQ(told.written(), 0);
            EXPECT_EQ(temporaryFiles(), QStringList());
        });
}

TEST_F(URLSessionResumeTest, APartOfThePartIsNotTheFile)
{
    Reply part = partial("bytes 100000-199999/300000");
    part.body = body.mid(firstPart, 100'000);
    const Told first = firstAttempt({part, {.body = body}});
    const Told told = resume(*first.error->resumeData);
    EXPECT_TRUE(told.isResumable());
    EXPECT_EQ(told.written(), 100'000);
    EXPECT_TRUE(resume(*told.error->resumeData).content == body);
}

TEST_F(URLSessionResumeTest, AnUnknownTotalIsAskedOfThePart)
{
    const Told first = firstAttempt({{.body = body}}, {.length = FaultServer::Length::Chunked});
    const Told told = resume(*first.error->resumeData);
    EXPECT_TRUE(told.content == body);
    EXPECT_EQ(told.progress.last().expected, size);
}

TEST_F(URLSessionResumeTest, JunkFailsCleanly)
{
    for (const QByteArray &junk : {QByteArray(), pattern(500), QByteArray(1'000'000, '\0')}) {
        const Told told = resume(junk);
        EXPECT_EQ(told.calls, failure);
        EXPECT_FALSE(told.errorText().isEmpty());
        EXPECT_FALSE(told.isResumable());
    }
    EXPECT_EQ(server.requests().size(), 0);
}

TEST_F(URLSessionResumeTest, AForgedRecordReachesNoFile)
{
    const QString mine = temporary.filePath(QStringLiteral("mine"));
    QFile file(mine);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write("precious"), 8);
    file.close();
    server.serve("/file", body);
    const ResumeData forged{server.url("/file"), "\"1\"", mine, 8, -1};
    EXPECT_TRUE(resume(forged.serialized()).content == body);
    EXPECT_FALSE(server.requests().last().hasHeader("Range"));
    session.reset();
    EXPECT_EQ(temporaryFiles(), QStringList(QStringLiteral("mine")));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "precious");
}

TEST_F(URLSessionResumeTest, StartsOverWhenThePartIsLost)
{
    Told first = firstAttempt({{.body = body}});
    ASSERT_TRUE(QFile::remove(partialFile()));
    expectAnew(first);
    first = firstAttempt({{.body = body}});
    ASSERT_TRUE(QFile::resize(partialFile(), firstPart - 1));
    expectAnew(first);
    expectAnew(first); // the same data once more
}

TEST_F(URLSessionResumeTest, TheDataOfAnotherSessionStartsOver)
{
    const Told first = firstAttempt({{.body = body}});
    session = std::make_unique<URLSession>(&recorder);
    EXPECT_EQ(temporaryFiles(), QStringList());
    expectAnew(first);
}

} // namespace
