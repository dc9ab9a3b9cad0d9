#include "pen/URLFactory.h"

#include "platform/Bundle.h"
#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Place = std::optional<QUrl> (*)();

QString text(const std::optional<QUrl> &url)
{
    return url ? url->toString(QUrl::FullyEncoded) : u"absent"_s;
}

class URLFactoryTest : public PenTest
{
protected:
    void mount(const QString &name) const { ASSERT_TRUE(QDir(pen.volumes()).mkdir(name)); }
};

} // namespace

struct VolumeCase
{
    const char *name;
    QString volume;
    QString root;
};

class PenVolume : public testing::TestWithParam<VolumeCase>
{
};

TEST_P(PenVolume, IsFoundByItsWholeName)
{
    const PenFolder pen(GetParam().volume);
    FolderVolumes volumes(pen.volumes());
    FileManager::setVolumeSource(&volumes);
    EXPECT_EQ(text(URLFactory::getQuilloURL()), GetParam().root);
    FileManager::setVolumeSource(nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Names, PenVolume,
    testing::Values(VolumeCase{"Quillo", u"QUILLO"_s, u"file:///Volumes/QUILLO/"_s},
                    VolumeCase{"Data", u"QUILLO_DATA"_s, u"file:///Volumes/QUILLO_DATA/"_s},
                    VolumeCase{"NoName", u"NO NAME"_s, u"file:///Volumes/NO%20NAME/"_s},
                    VolumeCase{"NoNameEncoded", u"NO%20NAME"_s, u"file:///Volumes/NO%2520NAME/"_s},
                    VolumeCase{"SmallLetters", u"quillo"_s, u"absent"_s},
                    VolumeCase{"SecondOfTheName", u"QUILLO 1"_s, u"absent"_s},
                    VolumeCase{"LongerName", u"QUILLO_DATA2"_s, u"absent"_s},
                    VolumeCase{"Other", u"USB STICK"_s, u"absent"_s}),
    caseName);

TEST_F(URLFactoryTest, TracesTheSearch)
{
    mount(u"ARCHIV \"1\""_s);
    EXPECT_EQ(loggedBy([] { EXPECT_TRUE(URLFactory::getQuilloURL()); }),
              QStringList({u"getQuilloURL Beginn"_s,
                           u"getQuilloURL paths [file:///Volumes/ARCHIV%20%221%22/, "
                           u"file:///Volumes/QUILLO/]"_s,
                           u"getQuilloURL in for loop - current path components: "
                           u"[\"/\", \"Volumes\", \"ARCHIV \\\"1\\\"\"]"_s,
                           u"getQuilloURL Quillo URL = file:///Volumes/ARCHIV%20%221%22/"_s,
                           u"getQuilloURL in for loop - current path components: "
                           u"[\"/\", \"Volumes\", \"QUILLO\"]"_s,
                           u"getQuilloURL Quillo URL = file:///Volumes/QUILLO/"_s,
                           u"getQuilloURL Ende"_s}));
}

TEST_F(URLFactoryTest, FirstOfTwoPensWins)
{
    mount(u"NO NAME"_s);
    EXPECT_EQ(text(URLFactory::getQuilloURL()), u"file:///Volumes/NO%20NAME/"_s);
}

TEST_F(URLFactoryTest, TracesThatThereIsNoPen)
{
    pen.pullOut();
    EXPECT_EQ(loggedBy([] { EXPECT_FALSE(URLFactory::getQuilloURL()); }),
              QStringList({u"getQuilloURL Beginn"_s, u"getQuilloURL paths []"_s,
                           u"getQuilloURL return nil"_s, u"getQuilloURL Ende"_s}));
    FileManager::setVolumeSource(nullptr);
    EXPECT_EQ(loggedBy([] { EXPECT_FALSE(URLFactory::getQuilloURL()); }),
              QStringList({u"getQuilloURL Beginn"_s, u"getQuilloURL paths nil"_s,
                           u"getQuilloURL return nil"_s, u"getQuilloURL Ende"_s}));
}

TEST_F(URLFactoryTest, NamesThePlacesOnThePenAndNothingWithoutIt)
{
    struct Row
    {
        Place place;
        QString url;
        QStringList firstEntries;
    };
    const QString root = u"file:///Volumes/QUILLO/"_s;
    const QString search = u"getQuilloURL Beginn"_s;
    const QString inConfigure = u"in getConfigureURL"_s;
    const QList<Row> rows = {
        {&URLFactory::getBookURL, root + u"book/"_s, {search}},
        {&URLFactory::getMusicURL, root + u"mp3/"_s, {search}},
        {&URLFactory::getConfigureURL, root + u"configure/"_s, {inConfigure, search}},
        {&URLFactory::getSettingsFileURL,
         root + u"configure/settings.ini"_s,
         {u"in getSettingsFileURL"_s, inConfigure, search}},
        {&URLFactory::getTbdFileURL, root + u"configure/tbd.txt"_s, {inConfigure, search}},
        {&URLFactory::getLogFileURL, root + u"configure/log.txt"_s, {inConfigure, search}},
    };
    for (const Row &row : rows) {
        QString found;
        const QStringList entries = loggedBy([&] { found = text(row.place()); });
        EXPECT_EQ(found, row.url);
        EXPECT_EQ(entries.mid(0, row.firstEntries.size()), row.firstEntries);
        EXPECT_EQ(entries.count(search), 1);
    }
    pen.pullOut();
    for (const Row &row : rows)
        EXPECT_EQ(text(row.place()), u"absent"_s) << qPrintable(row.url);
}

TEST_F(URLFactoryTest, TitleFilesAreNamedAfterTheMid)
{
    const QString book = u"file:///Volumes/QUILLO/book/"_s;
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::qnk)), book + u"00042_en.qnk"_s);
    EXPECT_EQ(text(URLFactory::url(u"123"_s, FileType::qnk)), book + u"0123_en.qnk"_s);
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::txt)), book + u"00042_en.txt"_s);
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::png)), book + u"00042_en.png"_s);
    for (const FileType type : {FileType::ini, FileType::iso, FileType::bin}) {
        const QStringList lines =
            printedBy([type] { EXPECT_FALSE(URLFactory::url(u"123"_s, type)); });
        EXPECT_EQ(lines, QStringList(u"\"Invalid file type %1 supplied to url(mid:type:)\""_s.arg(
                             name(type))));
    }
    pen.pullOut();
    EXPECT_FALSE(URLFactory::url(u"0042"_s, FileType::qnk));
}

TEST_F(URLFactoryTest, KeepsOddFileNames)
{
    const QUrl folder = URLFactory::getBookURL().value();
    for (const QString &fileName : {u"a%20b.txt"_s, u"ä#1?.png"_s, u"100%.qnk"_s, u" x "_s})
        EXPECT_EQ(URLFactory::fileURL(folder, fileName).path(QUrl::FullyDecoded),
                  u"/Volumes/QUILLO/book/"_s + fileName);
}

TEST(MidExpression, TakesUpToFourDigits)
{
    const QList<std::pair<QString, QString>> rows = {
        {u"MID=42"_s, u"42"_s},       {u"MID=0042"_s, u"0042"_s}, {u"MID=12345"_s, u"1234"_s},
        {u"1;MID=7;MID=8"_s, u"7"_s}, {u"MID=MID=5"_s, u"5"_s},   {u"MID="_s, u""_s},
        {u"mid=42"_s, u""_s},         {u"MID= 42"_s, u""_s},      {u"MID=-1"_s, u""_s},
        {u"MID=٤٢"_s, u""_s},
    };
    for (const auto &[line, mid] : rows)
        EXPECT_EQ(URLFactory::midExpression().match(line).captured(1), mid) << qPrintable(line);
}

TEST(ServerValues, AreTextsOfTheConfiguration)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"Url.plist"_s);
    const auto configure = [&path](const QByteArray &entries) {
        QFile file(path);
        ASSERT_TRUE(file.open(QFile::WriteOnly));
        file.write("<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    };
    configure("<key>SHOP_URL</key><string>http://a/?b&amp;c</string>"
              "<key>LOG_POST_URL</key><integer>7</integer>");
    Bundle::setConfigurationFile(path);
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::shopKey), u"http://a/?b&c"_s);
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::logPostKey), std::nullopt);
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::dummyVideoKey), std::nullopt);
    configure("<key>SHOP_URL</key><string>http://b</string>");
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::shopKey), u"http://b"_s);
    Bundle::setConfigurationFile({});
}
