#include "download/DownloadFileService.h"

#include "tests/download/TransferTest.h"
#include "tests/support/Rows.h"

using namespace Qt::StringLiterals;

TEST_F(TransferTest, ContentLengthIsAskedForByHead)
{
    struct Row
    {
        const char *name;
        FaultServer::Reply reply;
        std::optional<qint64> length;
    };
    DownloadFileService service;
    forEachRow<Row>(
        {{"Announced", {.body = "12345"}, 5},
         {"MoreThanFourGigabytes", {.body = "x", .announced = 5'000'000'000}, 5'000'000'000},
         {"MoreThanAnyPen", {.body = "x", .announced = 1'099'511'627'777}, {}},
         {"Absent", {.body = "12345", .length = FaultServer::Length::Absent}, {}},
         {"NotANumber", {.headers = {{"Content-Length", "many"}}, .body = "x"}, {}},
         {"TooLarge", {.headers = {{"Content-Length", "99999999999999999999"}}, .body = "x"}, {}},
         {"ErrorPage", {.status = 404, .body = "12345"}, {}},
         {"NoAnswer", FaultServer::Reply::closeBeforeHeader(), {}}},
        [&](const Row &row) {
            server.serve("/c", row.reply);
            bool answered = false;
            service.getContentLength(server.address("/c?v=1"), [&](std::optional<qint64> length) {
                EXPECT_TRUE(Dispatch::isMainThread());
                EXPECT_EQ(length, row.length);
                answered = true;
            });
            EXPECT_FALSE(answered);
            ASSERT_TRUE(waitFor([&] { return answered; }));
            EXPECT_EQ(server.requests().last().method, "HEAD");
            EXPECT_EQ(server.requests().last().target, "/c?v=1");
        });
}

TEST(ContentLengthOfNoAddress, IsAbsentAtOnce)
{
    DownloadFileService service;
    std::optional<qint64> told = 1;
    service.getContentLength(u"http://a b/"_s,
                             [&told](std::optional<qint64> length) { told = length; });
    EXPECT_EQ(told, std::nullopt);
}
