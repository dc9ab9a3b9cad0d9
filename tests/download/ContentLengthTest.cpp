#include "download/DownloadFileService.h"

#include "platform/Dispatch.h"
#include "tests/download/TransferTest.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

using Reply = FaultServer::Reply;

struct LengthCase
{
    const char *name;
    Reply reply;
    std::optional<qint64> length;
};

class ContentLength : public TransferTest, public testing::WithParamInterface<LengthCase>
{
protected:
    DownloadFileService service;
};

TEST_P(ContentLength, IsAskedForByHead)
{
    server.serve("/c", GetParam().reply);
    bool answered = false;
    std::optional<qint64> length;
    service.getContentLength(server.address("/c?v=1"), [&](std::optional<qint64> value) {
        EXPECT_TRUE(Dispatch::isMainThread());
        answered = true;
        length = value;
    });
    EXPECT_FALSE(answered);
    ASSERT_TRUE(waitFor([&] { return answered; }));
    EXPECT_EQ(length, GetParam().length);
    EXPECT_EQ(server.requests().first().method, "HEAD");
    EXPECT_EQ(server.requests().first().target, "/c?v=1");
}

INSTANTIATE_TEST_SUITE_P(
    Answers, ContentLength,
    testing::Values(
        LengthCase{"Announced", {.body = "12345"}, 5}, LengthCase{"Zero", {.body = ""}, 0},
        LengthCase{
            "MoreThanFourGigabytes", {.body = "x", .announced = 5'000'000'000}, 5'000'000'000},
        LengthCase{
            "Absent", {.body = "12345", .length = FaultServer::Length::Absent}, std::nullopt},
        LengthCase{
            "NotANumber", {.headers = {{"Content-Length", "many"}}, .body = "x"}, std::nullopt},
        LengthCase{"TooLarge",
                   {.headers = {{"Content-Length", "99999999999999999999"}}, .body = "x"},
                   std::nullopt},
        LengthCase{"ErrorPage", {.status = 404, .body = "12345"}, std::nullopt},
        LengthCase{"NoAnswer", {.raw = QByteArray()}, std::nullopt}),
    caseName);

TEST(ContentLengthOfNoAddress, IsAbsentAtOnce)
{
    DownloadFileService service;
    bool answered = false;
    service.getContentLength(u"http://a b/"_s, [&](std::optional<qint64> length) {
        answered = true;
        EXPECT_FALSE(length);
    });
    EXPECT_TRUE(answered);
}
