#include "sync/ElementUpdateService.h"

#include "download/DownloadFileService.h"
#include "platform/FileManager.h"
#include "platform/SharedSession.h"
#include "sync/LogPostService.h"
#include "sync/PenTitles.h"
#include "sync/VersionService.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"
#include "tests/support/UpdateRig.h"

#include <QFileInfo>
#include <QTest>
#include <QThread>

#include <future>

#include <gmock/gmock.h>
#include <sys/fsuid.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

struct ListRow
{
    const char *name;
    QByteArray text;
    QStringList values;
};

/// Requests a stop when another thread looks for the pen, as the one that writes does.
class StoppingVolumes : public FolderVolumes
{
public:
    using FolderVolumes::FolderVolumes;

    [[nodiscard]] QList<Volume> volumes() const override
    {
        if (QThread::currentThread() != thread())
            stop.request_stop();
        return FolderVolumes::volumes();
    }

    mutable std::stop_source stop;
};

class ElementUpdate : public testing::Test
{
protected:
    /// What was told by the question for all titles.
    static std::optional<Catalogue> ask()
    {
        const auto told = std::make_shared<std::promise<Catalogue>>();
        std::future<Catalogue> answer = told->get_future();
        ElementUpdateService::fetchAllElementsFromMediaServer(
            true, {}, [told](const Catalogue &catalogue) { told->set_value(catalogue); });
        if (answer.wait_for(std::chrono::seconds(10)) != std::future_status::ready)
            return std::nullopt;
        return answer.get();
    }

    std::optional<bool> checkSoftware()
    {
        DownloadFileService transfers;
        VersionService service(transfers);
        std::optional<bool> needed;
        service.perform([&needed](bool answer) { needed = answer; });
        EXPECT_TRUE(QTest::qWaitFor([&needed] { return needed.has_value(); }, 10'000));
        return needed;
    }

    UpdateRig rig;
};

TEST_F(ElementUpdate, TheRequestedTitlesAreTheFirstMidOfEachLine)
{
    forEachRow<ListRow>({{"OnePerLine", "xMID=1 MID=2\r\nMID=\nMID=1\n", {u"1"_s, u"1"_s}},
                         {"NoUtf8", "MID=12\n\xff\xfe", {}},
                         {"Nuls", QByteArray("M\0ID=1\nMID=2\0", 14), {u"2"_s}}},
                        [this](const ListRow &row) {
                            rig.pen.write(u"configure/tbd.txt"_s, row.text);
                            EXPECT_EQ(ElementUpdateService::readTbdMids(), row.values);
                        });
    rig.pen.remove(u"configure/tbd.txt"_s);
    CapturedOutput output;
    EXPECT_TRUE(ElementUpdateService::readTbdMids().isEmpty());
    EXPECT_THAT(output.lines(),
                ElementsAre(u"\"TBD file does not exist. Will return empty TBD array.\""_s));
}

TEST_F(ElementUpdate, TheUsageLogGivesTheValueOfEachLine)
{
    forEachRow<ListRow>({{"DuplicatesStay", "MID=12\nMID=12\n", {u"12"_s, u"12"_s}},
                         {"SecondEqualsSign", "a=b=c\n", {u"b"_s}},
                         {"NoValue", "nothing\nMID=\nMID= \n", {}},
                         {"NulIsRemovedAndAnEmptiedValueStays",
                          QByteArray("M=1\0002\nM=\0\n", 11),
                          {u"12"_s, QString()}},
                         {"NoUtf8", "MID=1\n\xff", {}}},
                        [this](const ListRow &row) {
                            rig.pen.write(u"configure/log.txt"_s, row.text);
                            EXPECT_EQ(LogPostService::getLogMids(), row.values);
                        });
    rig.pen.write(u"configure/log.txt"_s, "MID=12\n");
    rig.pen.write(u"configure/settings.ini"_s, "");
    EXPECT_TRUE(LogPostService::getLogMids().isEmpty()) << "a volume that is no pen";
    rig.pen.pullOut();
    EXPECT_EQ(printedBy([] { EXPECT_TRUE(LogPostService::getLogMids().isEmpty()); }),
              QStringList(u"\"Could not get log file URL.\""_s));
}

TEST_F(ElementUpdate, LocalMidsComeFromEveryFileOnceInTextOrder)
{
    for (const QString &name : {u"0012_en.txt"_s, u"0012_en.png"_s, u"0034_en.qnk"_s, u"9_de.txt"_s,
                                u"readme.txt"_s, u"0100_en.jpg"_s, u".0077_en.txt"_s})
        rig.pen.write(u"book/"_s + name, "x");
    EXPECT_THAT(ElementUpdateService::readLocalMids(),
                ElementsAre(u"12"_s, u"34"_s, u"9"_s, u"readme"_s));
}

TEST_F(ElementUpdate, MissingFilesNameATitleOnce)
{
    rig.putTitle(u"00042_en"_s, 1, true, false);
    rig.putTitle(u"00043_en"_s, 1, false, true);
    rig.pen.write(u"book/00044_en.png"_s, "x");
    const PenTitles titles({});
    EXPECT_THAT(titles.without(FileType::png), ElementsAre(u"00042_en"_s));
    EXPECT_THAT(titles.without(FileType::txt), ElementsAre(u"00044_en"_s));
    EXPECT_THAT(titles.withoutContent(), ElementsAre(u"00043_en"_s));
}

TEST_F(ElementUpdate, WithoutAnyMidOrAddressNobodyIsAsked)
{
    CapturedOutput output;
    const std::optional<Catalogue> ofNoMid = ask();
    ASSERT_TRUE(ofNoMid);
    EXPECT_TRUE(ofNoMid->result.isEmpty());
    EXPECT_FALSE(ofNoMid->records);
    rig.putTitle(u"00042_en"_s, 1);
    rig.configure({u"MEDIA_SERVER_MEDIAS_URL"_s});
    EXPECT_TRUE(ask());
    const QStringList lines = output.lines();
    EXPECT_THAT(
        lines,
        testing::Contains(u"\"Couldn't find any MIDs, not on the Quillo nor in the tbd file.\""_s));
    EXPECT_EQ(lines.last(),
              u"\"Failed in "
              u"fetchAllElementsFromMediaServer(removePrevious:completionHandler:)\""_s);
    EXPECT_TRUE(rig.server.requests().isEmpty());
}

TEST_F(ElementUpdate, TheResultNamesTheRequestedMids)
{
    rig.putTitle(u"01234_en"_s, 1);
    CapturedOutput output;
    forEachRow<ListRow>(
        {{"Two", "MID=0007\nMID=12\n", {u"[\"0007\", \"12\"]"_s}}, {"None", "", {u"[]"_s}}},
        [this](const ListRow &row) {
            rig.pen.write(u"configure/tbd.txt"_s, row.text);
            EXPECT_EQ(QStringList(ask().value_or(Catalogue()).result), row.values);
        });
    EXPECT_THAT(output.lines(),
                testing::Contains(u"\"there are 2 tbd mids and the array is empty = false \""_s));
}

TEST_F(ElementUpdate, StoppedWhileItWritesItWritesNoMore)
{
    struct Row
    {
        const char *name;
        QList<QByteArray> requested;
    };
    const QByteArray seven = UpdateRig::title(7, "Sieben");
    forEachRow<Row>(
        {{"LastTitle", {seven}}, {"AnotherFollows", {seven, UpdateRig::title(8, "Acht")}}},
        [this](const Row &row) {
            rig.pen.write(u"configure/tbd.txt"_s, "MID=7\n");
            rig.serveCatalogue(R"({"00007":1,"00008":1})", {}, row.requested);
            StoppingVolumes volumes(rig.pen.volumes());
            FileManager::setVolumeSource(&volumes);
            ElementUpdateService::fetchAllElementsFromMediaServer(
                true, volumes.stop.get_token(), [](const Catalogue &) { ADD_FAILURE(); });
            EXPECT_TRUE(QTest::qWaitFor([&] { return volumes.stop.stop_requested(); }));
            endSharedSession(); // waits for what is being written
            FileManager::setVolumeSource(&rig.volumes);
            EXPECT_EQ(rig.pen.read(u"configure/tbd.txt"_s), "MID=7\n");
            EXPECT_FALSE(rig.pen.exists(u"book/00008_en.txt"_s));
        });
}

TEST_F(ElementUpdate, VersionsMissingInTheSettingsAreBelowAll)
{
    DownloadFileService transfers;
    VersionService service(transfers);
    rig.pen.write(u"configure/settings.ini"_s, "firmwareVersion=\t7\r\nlanguage=de\n");
    service.readLocalVersions();
    EXPECT_EQ(service.firmwareVersionLocal(), 7);
    EXPECT_EQ(service.imageIsoVersionLocal(), -1);
}

TEST_F(ElementUpdate, TheSoftwareCheckComparesAndAlwaysEnds)
{
    struct Row
    {
        const char *name;
        FaultServer::Reply version;
        bool needed;
    };
    rig.server.serve("/software/imageisoV2.iso", "image");
    forEachRow<Row>({{"Newer", {.body = "2"}, true},
                     {"Equal", {.body = "1"}, false},
                     {"Older", {.body = "0"}, false},
                     {"TrailingNewline", {.body = "7\n"}, false},
                     {"Junk", {.body = "v9"}, false},
                     {"Empty", {}, false},
                     {"NoUtf8", {.body = "\xff"}, false},
                     {"ErrorPage", {.status = 500, .body = "9"}, false}},
                    [this](const Row &row) {
                        rig.server.serve("/imageversion", row.version);
                        EXPECT_EQ(checkSoftware(), row.needed);
                        EXPECT_EQ(updateElements().size(), row.needed ? 1 : 0);
                        updateElements().clear();
                    });
}

TEST_F(ElementUpdate, SoftwareWithoutASizeIsNeededButNotQueued)
{
    rig.server.serve("/firmwareversion", "5");
    EXPECT_EQ(checkSoftware(), true);
    EXPECT_TRUE(updateElements().isEmpty());
}

} // namespace
