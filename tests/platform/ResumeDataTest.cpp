#include "platform/ResumeData.h"

#include "platform/URLSession.h"
#include "tests/support/Rows.h"

namespace {

const ResumeData sample{QUrl(QStringLiteral("http://127.0.0.1/a%20b.qnk?x=%22")), "\"v1\"",
                        QStringLiteral("/tmp/quillo-ä.part"), 100, 300};

TEST(ResumeDataTest, ComesBackAsItWas)
{
    const auto parsed = ResumeData::parse(sample.serialized());
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->url, sample.url);
    EXPECT_EQ(parsed->validator, sample.validator);
    EXPECT_EQ(parsed->file, sample.file);
    EXPECT_EQ(parsed->bytes, sample.bytes);
    EXPECT_EQ(parsed->total, sample.total);
}

TEST(ResumeDataTest, AnythingCutOrLongerIsNone)
{
    const QByteArray data = sample.serialized();
    for (qsizetype length = 0; length < data.size(); ++length)
        EXPECT_FALSE(ResumeData::parse(data.left(length))) << length;
    EXPECT_FALSE(ResumeData::parse(data + '\0'));
}

TEST(ResumeDataTest, AnotherMarkOrVersionIsNone)
{
    for (qsizetype index = 0; index < 6; ++index) {
        QByteArray changed = sample.serialized();
        changed[index] = static_cast<char>(changed[index] ^ 1);
        EXPECT_FALSE(ResumeData::parse(changed)) << index;
    }
}

TEST(ResumeDataTest, UnusableRecordsAreNone)
{
    const auto expectNone = [](const auto &spoil) {
        ResumeData data = sample;
        spoil(data);
        EXPECT_FALSE(ResumeData::parse(data.serialized()));
    };
    for (const qint64 bytes : {0, -1, 301})
        expectNone([bytes](ResumeData &data) { data.bytes = bytes; });
    for (const QByteArray validator : {"", "\"v\r\nX: y\""})
        expectNone([&validator](ResumeData &data) { data.validator = validator; });
    expectNone([](ResumeData &data) { data.total = -2; });
    expectNone([](ResumeData &data) { data.file.clear(); });
    expectNone([](ResumeData &data) { data.url = QUrl(QStringLiteral("file:///etc/passwd")); });
}

TEST(ContentRangeTest, IsRead)
{
    struct Row
    {
        const char *name;
        qint64 start;
        qint64 end;
        qint64 total;
    };
    forEachRow<Row>({{"bytes 9-9/10", 9, 9, 10},
                     {"bytes 5-9/*", 5, 9, -1},
                     {"Bytes 5-9/10", 5, 9, 10},
                     {"bytes 0-4294967295/4294967296", 0, 4294967295, 4294967296}},
                    [](const Row &row) {
                        const auto range = ContentRange::parse(row.name);
                        ASSERT_TRUE(range);
                        EXPECT_EQ(range->start, row.start);
                        EXPECT_EQ(range->end, row.end);
                        EXPECT_EQ(range->total, row.total);
                    });
    for (const char *header :
         {"bytes 0-10/10", "bytes 9-5/10", "bytes */10", "items 0-9/10", "bytes -5-9/10",
          "bytes 0-9/99999999999999999999", "bytes 0-9/10, x", "bytes 0-9/10\n", ""})
        EXPECT_FALSE(ContentRange::parse(header)) << header;
}

TEST(ValidatorTest, IsNoneThatCouldNotBeSentBack)
{
    for (const QByteArray tag : {"1", "\"\x01\"", "W/\"1\""}) {
        URLResponse response;
        response.headers.insert("etag", tag);
        EXPECT_EQ(validatorOf(response), "") << tag.constData();
    }
}

} // namespace
