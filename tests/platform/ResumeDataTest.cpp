#include "platform/ResumeData.h"

#include "platform/URLSession.h"

#include <gtest/gtest.h>

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

TEST(ResumeDataTest, AnyChangedByteIsHarmless)
{
    const QByteArray data = sample.serialized();
    for (qsizetype index = 0; index < data.size(); ++index) {
        for (const char flip : {'\x01', '\x80', '\xff'}) {
            QByteArray changed = data;
            changed[index] = static_cast<char>(changed[index] ^ flip);
            const auto parsed = ResumeData::parse(changed);
            EXPECT_FALSE(index < 6 && parsed) << "the mark or the version, at " << index;
            EXPECT_TRUE(!parsed || (parsed->bytes > 0 && isWebAddress(parsed->url)));
        }
    }
}

struct UnusableRecord
{
    const char *name;
    void (*spoil)(ResumeData &data);
};

class ResumeDataUnusableTest : public testing::TestWithParam<UnusableRecord>
{
};

TEST_P(ResumeDataUnusableTest, IsNone)
{
    ResumeData data = sample;
    GetParam().spoil(data);
    EXPECT_FALSE(ResumeData::parse(data.serialized()));
}

const UnusableRecord unusableRecords[] = {
    {"NoBytes",
     [](ResumeData &data) {
         data.bytes = 0;
     }},
    {"NegativeBytes",
     [](ResumeData &data) {
         data.bytes = -1;
     }},
    {"MoreBytesThanTheTotal",
     [](ResumeData &data) {
         data.bytes = data.total + 1;
     }},
    {"NegativeTotal",
     [](ResumeData &data) {
         data.total = -2;
     }},
    {"NoValidator",
     [](ResumeData &data) {
         data.validator.clear();
     }},
    {"ValidatorWithALineBreak",
     [](ResumeData &data) {
         data.validator = "\"v\r\nX: y\"";
     }},
    {"NoFile",
     [](ResumeData &data) {
         data.file.clear();
     }},
    {"ForeignAddress",
     [](ResumeData &data) {
         data.url = QUrl(QStringLiteral("file:///etc/passwd"));
     }},
};

INSTANTIATE_TEST_SUITE_P(Record, ResumeDataUnusableTest, testing::ValuesIn(unusableRecords),
                         [](const auto &row) { return std::string(row.param.name); });

struct RangeRow
{
    const char *name;
    const char *header;
    bool valid;
    qint64 start = 0;
    qint64 end = 0;
    qint64 total = 0;
};

class ContentRangeTest : public testing::TestWithParam<RangeRow>
{
};

TEST_P(ContentRangeTest, IsRead)
{
    const RangeRow &row = GetParam();
    const auto range = ContentRange::parse(row.header);
    ASSERT_EQ(range.has_value(), row.valid);
    if (!range)
        return;
    EXPECT_EQ(range->start, row.start);
    EXPECT_EQ(range->end, row.end);
    EXPECT_EQ(range->total, row.total);
}

const RangeRow rangeRows[] = {
    {"Plain", "bytes 0-9/10", true, 0, 9, 10},
    {"OneByte", "bytes 9-9/10", true, 9, 9, 10},
    {"UnknownTotal", "bytes 5-9/*", true, 5, 9, -1},
    {"OtherCase", "Bytes 5-9/10", true, 5, 9, 10},
    {"Huge", "bytes 0-4294967295/4294967296", true, 0, 4294967295, 4294967296},
    {"EndAtTotal", "bytes 0-10/10", false},
    {"EndBeforeStart", "bytes 9-5/10", false},
    {"Unsatisfied", "bytes */10", false},
    {"OtherUnit", "items 0-9/10", false},
    {"Negative", "bytes -5-9/10", false},
    {"TooLong", "bytes 0-9/99999999999999999999", false},
    {"Trailing", "bytes 0-9/10, x", false},
    {"LineBreak", "bytes 0-9/10\n", false},
    {"Empty", "", false},
};

INSTANTIATE_TEST_SUITE_P(Header, ContentRangeTest, testing::ValuesIn(rangeRows),
                         [](const auto &row) { return std::string(row.param.name); });

struct ValidatorRow
{
    const char *name;
    QByteArray tag;
    QByteArray date;
    QByteArray validator;
};

class ValidatorTest : public testing::TestWithParam<ValidatorRow>
{
};

TEST_P(ValidatorTest, IsTheStrongestThereIs)
{
    URLResponse response;
    if (!GetParam().tag.isEmpty())
        response.headers.insert("etag", GetParam().tag);
    if (!GetParam().date.isEmpty())
        response.headers.insert("last-modified", GetParam().date);
    EXPECT_EQ(validatorOf(response), GetParam().validator);
}

const QByteArray someDate("Mon, 06 May 2024 10:00:00 GMT");

INSTANTIATE_TEST_SUITE_P(
    Headers, ValidatorTest,
    testing::Values(ValidatorRow{"Both", "\"1\"", someDate, "\"1\""},
                    ValidatorRow{"TagOnly", "\"1\"", "", "\"1\""},
                    ValidatorRow{"DateOnly", "", someDate, someDate},
                    ValidatorRow{"WeakTagAndDate", "W/\"1\"", someDate, someDate},
                    ValidatorRow{"WeakTag", "W/\"1\"", "", ""},
                    ValidatorRow{"UnquotedTag", "1", "", ""}, ValidatorRow{"None", "", "", ""},
                    ValidatorRow{"ControlCharacter", "\"\x01\"", "", ""}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
