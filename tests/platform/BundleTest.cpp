#include "platform/Bundle.h"

#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace {

QByteArray plist(const QByteArray &content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content
           + "</plist>\n";
}

QByteArray nested(const QByteArray &open, const QByteArray &close, qsizetype times)
{
    return "<dict><key>k</key>" + open.repeated(times) + close.repeated(times) + "</dict>";
}

void write(const QString &path, const QByteArray &content)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
}

QString shopAddress()
{
    return Bundle::propertyList(u"Url"_s).value(u"SHOP_URL"_s).toString();
}

QByteArray shopList(const QByteArray &address)
{
    return plist("<dict><key>SHOP_URL</key><string>" + address + "</string></dict>");
}

} // namespace

TEST(PropertyList, ReadsEveryTypeOfValue)
{
    const auto list = Bundle::parsePropertyList(plist(R"(<dict>
        <key>text</key><string> a &amp; b &#252; </string>
        <key>integer</key><integer>-9223372036854775808</integer>
        <key>real</key><real> 2.5e3 </real>
        <key>yes</key><true/>
        <key>no</key><false></false>
        <key>data</key><data>
            cXVp
            bGxv
        </data>
        <key>date</key><date>2019-04-30T12:00:01Z</date>
        <key>array</key><array><string>x</string><integer>7</integer></array>
        <key>dictionary</key><dict><key></key><string/></dict>
    </dict>)"));

    ASSERT_TRUE(list);
    EXPECT_EQ(list->value(u"text"_s), QVariant(u" a & b ü "_s));
    EXPECT_EQ(list->value(u"integer"_s), QVariant(std::numeric_limits<qlonglong>::min()));
    EXPECT_EQ(list->value(u"integer"_s).typeId(), QMetaType::LongLong);
    EXPECT_EQ(list->value(u"real"_s), QVariant(2500.0));
    EXPECT_EQ(list->value(u"yes"_s), QVariant(true));
    EXPECT_EQ(list->value(u"no"_s), QVariant(false));
    EXPECT_EQ(list->value(u"data"_s), QVariant(QByteArray("quillo")));
    EXPECT_EQ(list->value(u"date"_s),
              QVariant(QDateTime(QDate(2019, 4, 30), QTime(12, 0, 1), Qt::UTC)));
    EXPECT_EQ(list->value(u"array"_s), QVariant(QVariantList{u"x"_s, 7LL}));
    EXPECT_EQ(list->value(u"dictionary"_s), QVariant(QVariantMap{{QString(), QString()}}));
    EXPECT_EQ(list->size(), 9);
}

TEST(PropertyList, ReadsADocumentTypeThatOnlyNamesItself)
{
    const auto list = Bundle::parsePropertyList(
        "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://dtd.example/p.dtd\">"
        "<plist><dict><key>a</key><!-- why --><string>b</string></dict></plist>");
    EXPECT_EQ(list, QVariantMap({{u"a"_s, u"b"_s}}));
}

TEST(PropertyList, ReadsSixtyLevelsButNoBomb)
{
    EXPECT_TRUE(Bundle::parsePropertyList(plist(nested("<array>", "</array>", 60))));
    EXPECT_FALSE(Bundle::parsePropertyList(plist(nested("<array>", "</array>", 64))));
    EXPECT_FALSE(Bundle::parsePropertyList(plist(nested("<array>", "</array>", 60'000))));
    EXPECT_FALSE(Bundle::parsePropertyList(plist(nested("<dict><key>k</key>", "</dict>", 20'000))));
}

TEST(PropertyList, IsBoundedInSize)
{
    const auto ofSize = [](qsizetype size) {
        const QByteArray frame = plist("<dict><key>k</key><string></string></dict>");
        return plist("<dict><key>k</key><string>" + QByteArray(size - frame.size(), 'x')
                     + "</string></dict>");
    };
    EXPECT_TRUE(Bundle::parsePropertyList(ofSize(1024 * 1024)));
    EXPECT_FALSE(Bundle::parsePropertyList(ofSize(1024 * 1024 + 1)));
}

TEST(PropertyList, IsAbsentWhereverItIsCutOff)
{
    const QByteArray whole = plist("<dict><key>a</key><array><true/></array></dict>").trimmed();
    ASSERT_TRUE(Bundle::parsePropertyList(whole));
    for (qsizetype size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(Bundle::parsePropertyList(whole.first(size))) << size;
}

TEST(PropertyList, IsAbsentWhenMalformed)
{
    struct Row
    {
        const char *name;
        QByteArray document;
    };
    const auto value = [](const QByteArray &element) {
        return plist("<dict><key>a</key>" + element + "</dict>");
    };
    const auto entity = [](const QByteArray &declaration) {
        return "<!DOCTYPE plist [<!ENTITY " + declaration
               + ">]><plist><dict><key>a</key><string>&b;</string></dict></plist>";
    };
    forEachRow<Row>({{"PlainText", "SHOP_URL = x"},
                     {"Binary", QByteArray("bplist00\xd1\0", 10)},
                     {"NoXmlEncoding", value("<string>\xff\xfe</string>")},
                     {"WrongRoot", "<dict><key>a</key><string>b</string></dict>"},
                     {"RootIsArray", plist("<array/>")},
                     {"NothingInside", plist("")},
                     {"TwoTopValues", plist("<dict/><dict/>")},
                     {"TextBesideTheTopValue", plist("<dict/>x")},
                     {"ValueWithoutKey", plist("<dict><string>a</string></dict>")},
                     {"KeyWithoutValue", value("")},
                     {"TwoKeys", value("<key>b</key><true/>")},
                     {"TextInDictionary", value("a<true/>")},
                     {"UnknownElement", value("<uid>1</uid>")},
                     {"ElementInText", value("<string><b/></string>")},
                     {"BooleanWithContent", value("<true>no</true>")},
                     {"IntegerWithLetters", value("<integer>1a</integer>")},
                     {"IntegerTooLarge", value("<integer>9223372036854775808</integer>")},
                     {"EmptyReal", value("<real/>")},
                     {"DataThatIsNone", value("<data>c*==</data>")},
                     {"DateThatIsNone", value("<date>30.4.2019</date>")},
                     {"UnknownEntity", value("<string>&b;</string>")},
                     {"OwnEntity", entity("b \"c\"")},
                     {"EntityFromAFile", entity("b SYSTEM \"file:///etc/passwd\"")},
                     {"EntityBomb", entity("a \"xxxxxxxx\"><!ENTITY b \"&a;&a;&a;&a;\"")}},
                    [](const Row &row) { EXPECT_FALSE(Bundle::parsePropertyList(row.document)); });
}

class UrlList : public testing::Test
{
protected:
    void TearDown() override
    {
        Bundle::setConfigurationFile({});
        QFile::remove(m_userFile);
    }

    QTemporaryDir m_folder;
    const QString m_file = m_folder.filePath(u"servers.plist"_s);
    const QString m_userFile =
        QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/Url.plist"_s;
};

TEST_F(UrlList, ShipsAllNineAddressesUnderAReservedDomain)
{
    const QVariantMap list = Bundle::propertyList(u"Url"_s);
    const QStringList keys =
        u"DUMMY_VIDEO_URL LOG_POST_URL MEDIA_SERVER_FIRMWARE_VERSION_URL "
        "MEDIA_SERVER_IMAGE_ISO_VERSION_URL MEDIA_SERVER_MEDIAS_URL MEDIA_SERVER_VERSIONS_URL "
        "SHOP_URL STREAMING_SERVER_FILES_URL STREAMING_SERVER_SOFTWARE_URL"_s.split(u' ');
    EXPECT_EQ(list.keys(), keys);
    for (const QString &key : keys) {
        const QUrl address(list.value(key).toString(), QUrl::StrictMode);
        EXPECT_TRUE(address.isValid() && address.scheme() == u"https"_s
                    && address.host().endsWith(u".example"_s)
                    && (!key.startsWith(u"STREAMING"_s) || address.path().endsWith(u'/')))
            << qPrintable(key);
    }
}

TEST_F(UrlList, ComesFromTheChosenFileBeforeTheUsersBeforeTheShippedOne)
{
    write(m_userFile, shopList("https://user.example/"));
    EXPECT_EQ(shopAddress(), u"https://user.example/"_s);
    Bundle::setConfigurationFile(m_file);
    for (const QByteArray address : {"https://chosen.example/", "https://changed.example/"}) {
        write(m_file, shopList(address));
        EXPECT_EQ(shopAddress(), QString::fromLatin1(address));
    }
    for (const QString &other : {u"Other"_s, u"../Url"_s})
        EXPECT_TRUE(Bundle::propertyList(other).isEmpty());
}

TEST_F(UrlList, IsEmptyRatherThanTheShippedOneWhenTheChosenFileIsMissingOrBroken)
{
    const QString broken = m_folder.filePath(u"broken"_s);
    write(broken, "<plist>");
    for (const QString &chosen : {m_file, broken, m_folder.path(), u"/dev/zero"_s}) {
        Bundle::setConfigurationFile(chosen);
        EXPECT_TRUE(Bundle::propertyList(u"Url"_s).isEmpty()) << chosen.toStdString();
    }
}

TEST(StringTable, ReadsCommentsAndEscapes)
{
    const auto table = Bundle::parseStringTable(R"(/* a "comment" = "x"; */
// "another" = "one";
"plain" = "Bücher";"next"="to it" ;
"quote" /* between */ = // and here
    "say \"hi\" \\ \n\t\U00fc\Ud83d\UDE00";
"" = "";
"twice" = "first"; "twice" = "second"; // the end)");
    ASSERT_TRUE(table);
    const QHash<QString, QString> expected = {{u"plain"_s, u"Bücher"_s},
                                              {u"next"_s, u"to it"_s},
                                              {u"quote"_s, u"say \"hi\" \\ \n\tü😀"_s},
                                              {QString(), QString()},
                                              {u"twice"_s, u"second"_s}};
    EXPECT_EQ(*table, expected);
}

TEST(StringTable, IsAbsentWhenMalformed)
{
    for (const char *text :
         {"key = text;", "\"a\" \"b\";", "\"a\" = \"b\"", "\"a\" = ;", "\"a\"",
          "\"a\" =", "\"a\" = \"b;", "\"a\" = \"b\\", "\"a\" = \"\\q\";", "\"a\" = \"\\u00fc\";",
          "\"a\" = \"\\U12\";", "\"a\" = \"\\U+123\";", "\"a\" = \"\\Ud83d\";", "/* \"a\" = \"b\";",
          "/*/", "/ \"a\" = \"b\";", "\"a\" = \"\xfc\";", "\"a\" = \"b\"; // \xc3"}) {
        EXPECT_FALSE(Bundle::parseStringTable(text)) << text;
        EXPECT_FALSE(Bundle::parseStringTable(QByteArray("\"good\" = \"line\";\n") + text)) << text;
    }
}

TEST(StringTable, OfALanguageWithoutFolderIsAbsent)
{
    EXPECT_FALSE(Bundle::stringTable(u"fr"_s));
    EXPECT_FALSE(Bundle::stringTable(QString()));
    EXPECT_FALSE(Bundle::stringTable(u"images/../de"_s));
    EXPECT_TRUE(Bundle::stringTable(u"de"_s));
}

TEST(Resources, AreFoundByNameOnly)
{
    EXPECT_FALSE(Bundle::imagePath(u"no_such_image"_s));
    EXPECT_FALSE(Bundle::imagePath(QString()));
    EXPECT_FALSE(Bundle::imagePath(u"../images/delete"_s));
    EXPECT_FALSE(Bundle::soundPath(u"delete"_s));
    EXPECT_TRUE(Bundle::imagePath(u"delete"_s));
}

TEST(Resources, EveryImageDrawsSomethingInsideItsFrame)
{
    const QStringList names = QDir(u":/images"_s).entryList();
    ASSERT_FALSE(names.isEmpty());
    for (const QString &name : names) {
        SCOPED_TRACE(qPrintable(name));
        const auto path = Bundle::imagePath(QFileInfo(name).completeBaseName());
        ASSERT_TRUE(path);
        QSvgRenderer picture(*path);
        ASSERT_TRUE(picture.isValid());
        QImage canvas(picture.defaultSize().scaled(160, 160, Qt::KeepAspectRatio),
                      QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        QPainter painter(&canvas);
        picture.render(&painter);
        painter.end();
        qsizetype painted = 0;
        for (int y = 0; y < canvas.height(); ++y)
            for (int x = 0; x < canvas.width(); ++x)
                painted += qAlpha(canvas.pixel(x, y)) > 32 ? 1 : 0;
        EXPECT_GT(painted, canvas.width() * canvas.height() / 50);
    }
}

TEST(Resources, TheDoneSoundIsAWave)
{
    QFile file(Bundle::soundPath(u"Done"_s).value_or(QString()));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray wave = file.readAll();
    ASSERT_GT(wave.size(), 44);
    EXPECT_EQ(wave.first(4) + wave.sliced(8, 8), "RIFFWAVEfmt ");
}
