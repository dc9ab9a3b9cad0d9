#include "platform/HttpAnswer.h"

#include "platform/URLTypes.h"
#include "tests/support/Rows.h"

namespace {

URLResponse answerWith(const QByteArray &header, const QByteArray &value)
{
    return {{}, 200, {{header, value}}};
}

} // namespace

TEST(BodyLengthTest, SaysHowTheEndIsTold)
{
    using Told = BodyLength::Told;
    struct Row
    {
        const char *name;
        QByteArray header;
        Told told;
        qint64 bytes = -1;
    };
    forEachRow<Row>({{"0", "content-length", Told::ByLength, 0},
                     {"1099511627776", "content-length", Told::ByLength, largestFile},
                     {"1099511627777", "content-length", Told::ByNonsense},
                     {"99999999999999999999", "content-length", Told::ByNonsense},
                     {"-1", "content-length", Told::ByNonsense},
                     {"+1", "content-length", Told::ByNonsense},
                     {"5, 6", "content-length", Told::ByNonsense},
                     {"", "content-length", Told::ByNonsense},
                     {"Chunked", "transfer-encoding", Told::ByChunks},
                     {"identity", "transfer-encoding", Told::Not},
                     {"5", "x-length", Told::Not}},
                    [](const Row &row) {
                        const BodyLength length = BodyLength::of(answerWith(row.header, row.name));
                        EXPECT_EQ(std::pair(length.told, length.bytes),
                                  std::pair(row.told, row.bytes));
                    });
}

TEST(ContentRangeTest, IsRead)
{
    for (const auto &[header, told] : std::initializer_list<std::pair<const char *, QList<qint64>>>{
             {"bytes 9-9/10", {9, 9, 10}},
             {"bytes 5-9/*", {5, 9, -1}},
             {"Bytes 5-9/10", {5, 9, 10}},
             {"bytes 0-4294967295/4294967296", {0, 4294967295, 4294967296}}}) {
        const auto range = ContentRange::parse(header);
        ASSERT_TRUE(range) << header;
        EXPECT_EQ(QList({range->start, range->end, range->total}), told) << header;
    }
    for (const char *header :
         {"bytes 0-10/10", "bytes 9-5/10", "bytes */10", "items 0-9/10", "bytes -5-9/10",
          "bytes 0-9/99999999999999999999", "bytes 0-9/10, x", "bytes 0-9/10\n", ""})
        EXPECT_FALSE(ContentRange::parse(header)) << header;
}

TEST(ValidatorTest, IsNoneThatCouldNotBeSentBack)
{
    for (const QByteArray tag : {"1", "\"\x01\"", "W/\"1\""})
        EXPECT_EQ(validatorOf(answerWith("etag", tag)), "") << tag.constData();
}
