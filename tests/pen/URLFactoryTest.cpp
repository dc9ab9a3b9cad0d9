#include "pen/URLFactory.h"

#include "platform/Address.h"
#include "tests/support/Configuration.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

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

TEST_F(URLFactoryTest, FindsThePenByTheWholeNameOfItsVolume)
{
    const QList<std::pair<QString, QString>> rows = {
        {u"QUILLO"_s, u"file:///Volumes/QUILLO/"_s},
        {u"QUILLO_DATA"_s, u"file:///Volumes/QUILLO_DATA/"_s},
        {u"NO NAME"_s, u"file:///Volumes/NO%20NAME/"_s},
        {u"NO%20NAME"_s, u"file:///Volumes/NO%2520NAME/"_s},
        {u"quillo"_s, u"absent"_s},
        {u"QUILLO 1"_s, u"absent"_s},
        {u"QUILLO_DATA2"_s, u"absent"_s},
    };
    pen.pullOut();
    for (const auto &[name, root] : rows) {
        mount(name);
        EXPECT_EQ(text(URLFactory::getQuilloURL()), root) << name.toStdString();
        ASSERT_TRUE(QDir(pen.volumes()).rmdir(name));
    }
}

TEST_F(URLFactoryTest, TracesTheSearchAndTakesTheFirstPen)
{
    mount(u"ARCHIV \"1\""_s);
    mount(u"NO NAME"_s);
    FolderVolumes sorted(pen.volumes());
    FileManager::setVolumeSource(&sorted);
    const QString each = u"getQuilloURL in for loop - current path components: "_s;
    const QString found = u"getQuilloURL Quillo URL = file:///Volumes/"_s;
    EXPECT_EQ(
        loggedBy(
            [] { EXPECT_EQ(text(URLFactory::getQuilloURL()), u"file:///Volumes/NO%20NAME/"_s); }),
        QStringList({u"getQuilloURL Beginn"_s,
                     u"getQuilloURL paths [file:///Volumes/ARCHIV%20%221%22/, "
                     u"file:///Volumes/NO%20NAME/, file:///Volumes/QUILLO/]"_s,
                     each + u"[\"/\", \"Volumes\", \"ARCHIV \\\"1\\\"\"]"_s,
                     found + u"ARCHIV%20%221%22/"_s, each + u"[\"/\", \"Volumes\", \"NO NAME\"]"_s,
                     found + u"NO%20NAME/"_s, u"getQuilloURL Ende"_s}));
}

TEST_F(URLFactoryTest, TracesThatThereIsNoPen)
{
    for (const QString &paths : {u"[]"_s, u"nil"_s}) {
        if (paths == u"nil"_s)
            FileManager::setVolumeSource(nullptr);
        else
            pen.pullOut();
        EXPECT_EQ(loggedBy([] { EXPECT_FALSE(URLFactory::getQuilloURL()); }),
                  QStringList({u"getQuilloURL Beginn"_s, u"getQuilloURL paths "_s + paths,
                               u"getQuilloURL return nil"_s, u"getQuilloURL Ende"_s}));
    }
}

TEST_F(URLFactoryTest, NamesThePlacesOnThePenAndNothingWithoutIt)
{
    struct Row
    {
        const char *name;
        std::optional<QUrl> (*place)();
        QStringList firstEntries;
    };
    const QString search = u"getQuilloURL Beginn"_s;
    const QString inConfigure = u"in getConfigureURL"_s;
    const std::initializer_list<Row> rows = {
        {"book/", &URLFactory::getBookURL, {search}},
        {"mp3/", &URLFactory::getMusicURL, {search}},
        {"configure/", &URLFactory::getConfigureURL, {inConfigure, search}},
        {"configure/settings.ini",
         &URLFactory::getSettingsFileURL,
         {u"in getSettingsFileURL"_s, inConfigure, search}},
        {"configure/tbd.txt", &URLFactory::getTbdFileURL, {inConfigure, search}},
        {"configure/log.txt", &URLFactory::getLogFileURL, {inConfigure, search}},
    };
    forEachRow(rows, [&](const Row &row) {
        QString found;
        const QStringList entries = loggedBy([&] { found = text(row.place()); });
        EXPECT_EQ(found, u"file:///Volumes/QUILLO/"_s + QString::fromLatin1(row.name));
        EXPECT_EQ(entries.mid(0, row.firstEntries.size()), row.firstEntries);
        EXPECT_EQ(entries.count(search), 1);
    });
    pen.pullOut();
    forEachRow(rows, [](const Row &row) { EXPECT_EQ(row.place(), std::nullopt); });
}

TEST_F(URLFactoryTest, TitleFilesAreNamedAfterTheMid)
{
    const QString book = u"file:///Volumes/QUILLO/book/"_s;
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::qnk)), book + u"00042_en.qnk"_s);
    EXPECT_EQ(text(URLFactory::url(u"123"_s, FileType::txt)), book + u"0123_en.txt"_s);
    EXPECT_EQ(text(URLFactory::url(u"0042"_s, FileType::png)), book + u"00042_en.png"_s);
    for (const FileType type : {FileType::ini, FileType::iso, FileType::bin})
        EXPECT_EQ(
            printedBy([type] { EXPECT_FALSE(URLFactory::url(u"123"_s, type)); }),
            QStringList(u"\"Invalid file type %1 supplied to url(mid:type:)\""_s.arg(name(type))));
    pen.pullOut();
    EXPECT_FALSE(URLFactory::url(u"0042"_s, FileType::qnk));
}

TEST_F(URLFactoryTest, KeepsOddFileNames)
{
    const QUrl folder = URLFactory::getBookURL().value();
    for (const QString &fileName : {u"a%20b.txt"_s, u"ä#1?.png"_s, u"100%.qnk"_s, u" x "_s})
        EXPECT_EQ(pathOf(URLFactory::fileURL(folder, fileName)),
                  u"/Volumes/QUILLO/book/"_s + fileName);
}

TEST(MidExpression, TakesUpToFourDigits)
{
    const QList<std::pair<QString, QString>> rows = {
        {u"MID=0042"_s, u"0042"_s}, {u"MID=12345"_s, u"1234"_s}, {u"1;MID=7;MID=8"_s, u"7"_s},
        {u"MID=MID=5"_s, u"5"_s},   {u"MID="_s, u""_s},          {u"mid=42"_s, u""_s},
        {u"MID= 42"_s, u""_s},      {u"MID=-1"_s, u""_s},        {u"MID=٤٢"_s, u""_s},
    };
    for (const auto &[line, mid] : rows)
        EXPECT_EQ(URLFactory::midExpression().match(line).captured(1), mid) << qPrintable(line);
}

TEST(ServerValues, AreTextsOfTheConfiguration)
{
    const Configuration configuration;
    configuration.set(
        propertyList({{URLFactory::shopKey, u"http://a/?b&c"_s}})
            .replace("</dict>", "<key>LOG_POST_URL</key><integer>7</integer></dict>"));
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::shopKey), u"http://a/?b&c"_s);
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::logPostKey), std::nullopt);
    EXPECT_EQ(URLFactory::getServerValue(URLFactory::dummyVideoKey), std::nullopt);
}
