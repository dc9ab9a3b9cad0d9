#include "sync/ElementUpdateService.h"

#include "download/DownloadFileService.h"
#include "sync/LogPostService.h"
#include "sync/VersionService.h"
#include "tests/support/Output.h"
#include "tests/support/UpdateRig.h"

#include <QTest>

#include <gmock/gmock.h>

using namespace Qt::StringLiterals;
using testing::ElementsAre;

namespace {

struct ListRow
{
    const char *name;
    QByteArray list;
    QStringList mids;
};

class TbdList : public testing::TestWithParam<ListRow>
{
protected:
    UpdateRig rig;
};

TEST_P(TbdList, GivesTheFirstMidOfEachLine)
{
    rig.pen.write(u"configure/tbd.txt"_s, GetParam().list);
    EXPECT_EQ(ElementUpdateService::readTbdMids(), GetParam().mids);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, TbdList,
    testing::Values(ListRow{"ShortLongNone",
                            "MID=12\nxxMID=0345yy\nMID=\nMID=123456\n",
                            {u"12"_s, u"0345"_s, u"1234"_s}},
                    ListRow{
                        "TwoOnALineAndDuplicates", "MID=1 MID=2\r\nMID=1\r\n", {u"1"_s, u"1"_s}},
                    ListRow{"Empty", "", {}}, ListRow{"WrongCase", "mid=12\n", {}},
                    ListRow{"NoUtf8", "MID=12\n\xff\xfe", {}},
                    ListRow{"Nuls", QByteArray("M\0ID=1\nMID=2\0", 14), {u"2"_s}}),
    rowName<ListRow>);

class Catalogue : public testing::Test
{
protected:
    UpdateRig rig;
};

TEST_F(Catalogue, WithoutListFileSaysSo)
{
    CapturedOutput output;
    EXPECT_TRUE(ElementUpdateService::readTbdMids().isEmpty());
    EXPECT_THAT(output.lines(),
                ElementsAre(u"\"TBD file does not exist. Will return empty TBD array.\""_s));
}

TEST_F(Catalogue, LocalMidsComeFromEveryFileOnceInTextOrder)
{
    for (const char *name : {"0012_en.txt", "0012_en.png", "0034_en.qnk", "9_de.txt", "readme.txt",
                             "0100_en.jpg", ".0077_en.txt"})
        rig.pen.write(u"book/"_s + QString::fromLatin1(name), "x");
    EXPECT_THAT(ElementUpdateService::readLocalMids(),
                ElementsAre(u"12"_s, u"34"_s, u"9"_s, u"readme"_s));
}

TEST_F(Catalogue, MissingFilesNameATitleOncePerOtherFile)
{
    rig.putTitle(u"00042_en"_s, 1, true, false);
    rig.putTitle(u"00043_en"_s, 1, false, true);
    rig.pen.write(u"book/00044_en.png"_s, "x");
    EXPECT_THAT(ElementUpdateService::getMissingFiles(FileType::png),
                testing::UnorderedElementsAre(u"42"_s, u"42"_s));
    EXPECT_THAT(ElementUpdateService::getMissingFiles(FileType::txt), ElementsAre(u"44"_s));
    EXPECT_THAT(ElementUpdateService::getMissingMidsByQnk(), ElementsAre(u"43"_s));
}

TEST_F(Catalogue, WithoutAnyMidNobodyIsAsked)
{
    CapturedOutput output;
    std::optional<::Catalogue> told;
    ElementUpdateService::fetchAllElementsFromMediaServer(
        true, {}, [&told](const ::Catalogue &catalogue) { told = catalogue; });
    ASSERT_TRUE(told);
    EXPECT_TRUE(told->result.isEmpty());
    EXPECT_FALSE(told->records);
    EXPECT_THAT(output.lines(),
                testing::Contains(u"\"Couldn't find any MIDs, not on the Quillo nor in the tbd "
                                  u"file.\""_s));
    EXPECT_TRUE(rig.server.requests().isEmpty());
}

TEST_F(Catalogue, AMissingAddressEndsTheRunWithItsLine)
{
    rig.putTitle(u"00042_en"_s, 1);
    rig.configure({u"MEDIA_SERVER_MEDIAS_URL"_s});
    CapturedOutput output;
    bool told = false;
    ElementUpdateService::fetchAllElementsFromMediaServer(
        true, {}, [&told](const ::Catalogue &catalogue) { told = catalogue.result.isEmpty(); });
    EXPECT_TRUE(told);
    EXPECT_EQ(output.lines().last(),
              u"\"Failed in "
              u"fetchAllElementsFromMediaServer(removePrevious:completionHandler:)\""_s);
}

struct LogRow
{
    const char *name;
    QByteArray log;
    QStringList values;
};

class UsageLog : public testing::TestWithParam<LogRow>
{
protected:
    UpdateRig rig;
};

TEST_P(UsageLog, GivesTheValueOfEachLine)
{
    rig.pen.write(u"configure/log.txt"_s, GetParam().log);
    EXPECT_EQ(LogPostService::getLogMids(), GetParam().values);
}

INSTANTIATE_TEST_SUITE_P(Rows, UsageLog,
                         testing::Values(LogRow{"DuplicatesStay",
                                                "MID=12\nMID=12\nMID=345\n",
                                                {u"12"_s, u"12"_s, u"345"_s}},
                                         LogRow{"SecondEqualsSign", "a=b=c\n", {u"b"_s}},
                                         LogRow{"NoValue", "nothing\nMID=\nMID= \n", {}},
                                         LogRow{"NulIsRemovedAndAnEmptiedValueStays",
                                                QByteArray("M=1\0002\nM=\0\n", 11),
                                                {u"12"_s, QString()}},
                                         LogRow{"NoUtf8", "MID=1\n\xff", {}}),
                         rowName<LogRow>);

struct VersionRow
{
    const char *name;
    QByteArray settings;
    qint64 firmware;
    qint64 image;
};

class LocalVersions : public testing::TestWithParam<VersionRow>
{
protected:
    UpdateRig rig;
};

TEST_P(LocalVersions, AreReadFromTheSettings)
{
    rig.pen.write(u"configure/settings.ini"_s, GetParam().settings);
    DownloadFileService transfers;
    VersionService service(transfers);
    service.readLocalVersions();
    EXPECT_EQ(service.firmwareVersionLocal(), GetParam().firmware);
    EXPECT_EQ(service.imageIsoVersionLocal(), GetParam().image);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LocalVersions,
    testing::Values(
        VersionRow{"Both", "firmwareVersion=12\nImageVersion=3\n", 12, 3},
        VersionRow{"BlanksAndCrLf", "ImageVersion = 5 \r\nfirmwareVersion=\t7\r\n", 7, 5},
        VersionRow{"Missing", "language=de\n", -1, -1},
        VersionRow{"LaterLineWins", "firmwareVersion=1\nfirmwareVersion=2\n", 2, -1},
        VersionRow{"SecondPieceOnly", "firmwareVersion=4=9\n", 4, -1},
        VersionRow{"Nul", QByteArray("firmwareVersion=1\0002\n", 20), 12, -1},
        VersionRow{"Junk", "firmwareVersion=abc\nImageVersion\nImageVersion=\n", -1, -1},
        VersionRow{"NotAtLineStart", " firmwareVersion=3\n", -1, -1},
        VersionRow{"TooLong", "firmwareVersion=99999999999999999999\n", -1, -1}),
    rowName<VersionRow>);

struct CheckRow
{
    const char *name;
    QByteArray answer;
    int status;
    bool needed;
};

class SoftwareCheck : public testing::TestWithParam<CheckRow>
{
protected:
    UpdateRig rig;
};

TEST_P(SoftwareCheck, ComparesAndAlwaysEnds)
{
    rig.server.serve("/imageversion", {.status = GetParam().status, .body = GetParam().answer});
    rig.server.serve("/software/imageisoV" + GetParam().answer + ".iso", "image");
    DownloadFileService transfers;
    VersionService service(transfers);
    std::optional<bool> needed;
    service.perform([&needed](bool answer) { needed = answer; });
    ASSERT_TRUE(QTest::qWaitFor([&needed] { return needed.has_value(); }, 10'000));
    EXPECT_EQ(needed, GetParam().needed);
    EXPECT_EQ(updateElements().size(), GetParam().needed ? 1 : 0);
    updateElements().clear();
}

INSTANTIATE_TEST_SUITE_P(
    Rows, SoftwareCheck,
    testing::Values(CheckRow{"Newer", "2", 200, true}, CheckRow{"Equal", "1", 200, false},
                    CheckRow{"Older", "0", 200, false},
                    CheckRow{"TrailingNewline", "7\n", 200, false},
                    CheckRow{"Junk", "v9", 200, false}, CheckRow{"Empty", "", 200, false},
                    CheckRow{"NoUtf8", "\xff", 200, false}, CheckRow{"ErrorPage", "9", 500, false}),
    rowName<CheckRow>);

TEST_F(Catalogue, SoftwareWithoutASizeIsNeededButNotQueued)
{
    rig.server.serve("/firmwareversion", "5");
    DownloadFileService transfers;
    VersionService service(transfers);
    std::optional<bool> needed;
    service.perform([&needed](bool answer) { needed = answer; });
    ASSERT_TRUE(QTest::qWaitFor([&needed] { return needed.has_value(); }, 10'000));
    EXPECT_TRUE(*needed);
    EXPECT_TRUE(updateElements().isEmpty());
}

} // namespace
