#include "platform/Bundle.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <QTemporaryDir>
#include <QUrl>
#include <QtEndian>

#include <gtest/gtest.h>

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

struct Malformed
{
    const char *name;
    QByteArray document;
};

void PrintTo(const Malformed &row, std::ostream *stream)
{
    *stream << row.name;
}

class MalformedPropertyList : public testing::TestWithParam<Malformed>
{
};

TEST_P(MalformedPropertyList, IsAbsent)
{
    EXPECT_FALSE(Bundle::parsePropertyList(GetParam().document));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MalformedPropertyList,
    testing::Values(
        Malformed{"PlainText", "SHOP_URL = x"},
        Malformed{"Binary", QByteArray("bplist00\xd1\0", 10)},
        Malformed{"NoXmlEncoding", "<plist><dict><key>\xff\xfe</key><true/></dict></plist>"},
        Malformed{"WrongRoot", "<dict><key>a</key><string>b</string></dict>"},
        Malformed{"RootIsArray", plist("<array/>")}, Malformed{"RootIsText", plist("<string/>")},
        Malformed{"NothingInside", plist("")}, Malformed{"TwoTopValues", plist("<dict/><dict/>")},
        Malformed{"TextBesideTheTopValue", plist("<dict/>x")},
        Malformed{"SecondRoot", plist("<dict/>") + "<plist/>"},
        Malformed{"ValueWithoutKey", plist("<dict><string>a</string></dict>")},
        Malformed{"KeyWithoutValue", plist("<dict><key>a</key></dict>")},
        Malformed{"TwoKeys", plist("<dict><key>a</key><key>b</key><true/></dict>")},
        Malformed{"TextInDictionary", plist("<dict>a<key>a</key><true/></dict>")},
        Malformed{"UnknownElement", plist("<dict><key>a</key><uid>1</uid></dict>")},
        Malformed{"ElementInText", plist("<dict><key>a</key><string><b/></string></dict>")},
        Malformed{"BooleanWithContent", plist("<dict><key>a</key><true>no</true></dict>")},
        Malformed{"IntegerWithLetters", plist("<dict><key>a</key><integer>1a</integer></dict>")},
        Malformed{"IntegerTooLarge",
                  plist("<dict><key>a</key><integer>9223372036854775808</integer></dict>")},
        Malformed{"EmptyReal", plist("<dict><key>a</key><real/></dict>")},
        Malformed{"DataThatIsNone", plist("<dict><key>a</key><data>c*==</data></dict>")},
        Malformed{"DateThatIsNone", plist("<dict><key>a</key><date>30.4.2019</date></dict>")},
        Malformed{"UnknownEntity", plist("<dict><key>a</key><string>&b;</string></dict>")},
        Malformed{"OwnEntity", "<!DOCTYPE plist [<!ENTITY b \"c\">]>"
                               "<plist><dict><key>a</key><string>&b;</string></dict></plist>"},
        Malformed{"EntityFromAFile",
                  "<!DOCTYPE plist [<!ENTITY b SYSTEM \"file:///etc/passwd\">]>"
                  "<plist><dict><key>a</key><string>&b;</string></dict></plist>"},
        Malformed{"EntityBomb", "<!DOCTYPE plist [<!ENTITY a \"xxxxxxxx\"><!ENTITY b "
                                "\"&a;&a;&a;&a;\"><!ENTITY c \"&b;&b;&b;&b;\">]>"
                                "<plist><dict><key>a</key><string>&c;</string></dict></plist>"}),
    [](const auto &row) { return row.param.name; });

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
    const QStringList keys = {u"DUMMY_VIDEO_URL"_s,
                              u"LOG_POST_URL"_s,
                              u"MEDIA_SERVER_FIRMWARE_VERSION_URL"_s,
                              u"MEDIA_SERVER_IMAGE_ISO_VERSION_URL"_s,
                              u"MEDIA_SERVER_MEDIAS_URL"_s,
                              u"MEDIA_SERVER_VERSIONS_URL"_s,
                              u"SHOP_URL"_s,
                              u"STREAMING_SERVER_FILES_URL"_s,
                              u"STREAMING_SERVER_SOFTWARE_URL"_s};
    EXPECT_EQ(list.keys(), keys);
    for (const QString &key : keys) {
        const QUrl address(list.value(key).toString(), QUrl::StrictMode);
        EXPECT_TRUE(address.isValid()) << qPrintable(key);
        EXPECT_EQ(address.scheme(), u"https"_s) << qPrintable(key);
        EXPECT_TRUE(address.host().endsWith(u".example"_s)) << qPrintable(key);
    }
    for (const QString &key : {u"STREAMING_SERVER_FILES_URL"_s, u"STREAMING_SERVER_SOFTWARE_URL"_s})
        EXPECT_TRUE(list.value(key).toString().endsWith(u'/')) << qPrintable(key);
}

TEST_F(UrlList, ComesFromTheUsersFolderBeforeTheShippedOne)
{
    write(m_userFile, shopList("https://user.example/"));
    EXPECT_EQ(shopAddress(), u"https://user.example/"_s);
}

TEST_F(UrlList, ComesFromTheChosenFileBeforeAllOthers)
{
    write(m_userFile, shopList("https://user.example/"));
    write(m_file, shopList("https://chosen.example/"));
    Bundle::setConfigurationFile(m_file);
    EXPECT_EQ(shopAddress(), u"https://chosen.example/"_s);
}

TEST_F(UrlList, IsEmptyRatherThanTheShippedOneWhenTheChosenFileIsMissingOrBroken)
{
    Bundle::setConfigurationFile(m_file);
    EXPECT_TRUE(Bundle::propertyList(u"Url"_s).isEmpty());
    write(m_file, "<plist>");
    EXPECT_TRUE(Bundle::propertyList(u"Url"_s).isEmpty());
    Bundle::setConfigurationFile(m_folder.path());
    EXPECT_TRUE(Bundle::propertyList(u"Url"_s).isEmpty());
    Bundle::setConfigurationFile(u"/dev/zero"_s);
    EXPECT_TRUE(Bundle::propertyList(u"Url"_s).isEmpty());
}

TEST_F(UrlList, IsReadAnewByEveryCall)
{
    Bundle::setConfigurationFile(m_file);
    write(m_file, shopList("https://first.example/"));
    EXPECT_EQ(shopAddress(), u"https://first.example/"_s);
    write(m_file, shopList("https://second.example/"));
    EXPECT_EQ(shopAddress(), u"https://second.example/"_s);
}

TEST_F(UrlList, LendsItsPlaceToNoOtherList)
{
    write(m_file, shopList("https://chosen.example/"));
    Bundle::setConfigurationFile(m_file);
    EXPECT_TRUE(Bundle::propertyList(u"Other"_s).isEmpty());
    EXPECT_TRUE(Bundle::propertyList(u"../Url"_s).isEmpty());
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

TEST(StringTable, WithoutEntriesIsEmpty)
{
    EXPECT_EQ(Bundle::parseStringTable(""), (QHash<QString, QString>()));
    EXPECT_EQ(Bundle::parseStringTable(" \n/**/ //"), (QHash<QString, QString>()));
}

class MalformedStringTable : public testing::TestWithParam<Malformed>
{
};

TEST_P(MalformedStringTable, IsAbsent)
{
    EXPECT_FALSE(Bundle::parseStringTable(GetParam().document));
    EXPECT_FALSE(Bundle::parseStringTable("\"good\" = \"line\";\n" + GetParam().document));
}

INSTANTIATE_TEST_SUITE_P(
    Rows, MalformedStringTable,
    testing::Values(Malformed{"NoQuotes", "key = text;"}, Malformed{"NoEquals", "\"a\" \"b\";"},
                    Malformed{"NoSemicolon", "\"a\" = \"b\""}, Malformed{"NoText", "\"a\" = ;"},
                    Malformed{"OnlyKey", "\"a\""}, Malformed{"EndsAfterEquals", "\"a\" ="},
                    Malformed{"TextNeverEnds", "\"a\" = \"b;"},
                    Malformed{"EndsInBackslash", "\"a\" = \"b\\"},
                    Malformed{"UnknownEscape", "\"a\" = \"\\q\";"},
                    Malformed{"LowerCaseUnit", "\"a\" = \"\\u00fc\";"},
                    Malformed{"ShortUnit", "\"a\" = \"\\U12\";"},
                    Malformed{"SignedUnit", "\"a\" = \"\\U+123\";"},
                    Malformed{"HalfASurrogatePair", "\"a\" = \"\\Ud83d\";"},
                    Malformed{"CommentNeverEnds", "/* \"a\" = \"b\";"},
                    Malformed{"CommentOverlapsItsEnd", "/*/"},
                    Malformed{"OneSlash", "/ \"a\" = \"b\";"},
                    Malformed{"NoUtf8", "\"a\" = \"\xfc\";"},
                    Malformed{"CutOffUtf8", "\"a\" = \"b\"; // \xc3"}),
    [](const auto &row) { return row.param.name; });

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

class ShippedImage : public testing::TestWithParam<const char *>
{
};

TEST_P(ShippedImage, DrawsSomethingInsideItsFrame)
{
    const auto path = Bundle::imagePath(QString::fromLatin1(GetParam()));
    ASSERT_TRUE(path);
    QSvgRenderer picture(*path);
    ASSERT_TRUE(picture.isValid());
    ASSERT_FALSE(picture.defaultSize().isEmpty());

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

INSTANTIATE_TEST_SUITE_P(
    Rows, ShippedImage,
    testing::Values("quilo_gesamtansicht", "quillo_buch", "quilo_spiel", "quillo_lernmaterial",
                    "Archivicon", "quilo_musik", "quillo_video", "quillo_shop",
                    "quillo_quillo_small", "quillo_quillo", "dummy_book", "Firmware_icon",
                    "ic_clear_black_24dp_2x", "quillo-fortschritt-laden_0",
                    "quillo-fortschritt-laden_25", "quillo-fortschritt-laden_50",
                    "quillo-fortschritt-laden_75", "quillo-fortschritt-laden_100",
                    "quillo_anleitung", "quillo_anleitung_englisch", "quillo_anleitung_rueckseite",
                    "quillo_anleitung_rueckseite_englisch", "if_Germany_92095",
                    "if_Germany_92095_transparent", "if_United-Kingdom_92403",
                    "if_United-Kingdom_92403_transparent", "quilo_bluetooth_connected",
                    "quilo_bluetooth_disconnected", "splash", "pen_button", "delete", "menu",
                    "search", "pen_missing", "empty_shelf"));

TEST(Resources, TheDoneSoundIsAShortPlainWave)
{
    const auto path = Bundle::soundPath(u"Done"_s);
    ASSERT_TRUE(path);
    QFile file(*path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray wave = file.readAll();
    ASSERT_GT(wave.size(), 44);
    EXPECT_LT(wave.size(), 40 * 1024);
    EXPECT_EQ(wave.first(4), "RIFF");
    EXPECT_EQ(wave.sliced(8, 8), "WAVEfmt ");
    EXPECT_EQ(qFromLittleEndian<quint32>(wave.constData() + 4) + 8, quint32(wave.size()));
    EXPECT_EQ(qFromLittleEndian<quint16>(wave.constData() + 20), 1) << "uncompressed";
    EXPECT_EQ(qFromLittleEndian<quint16>(wave.constData() + 22), 1) << "one channel";
    EXPECT_EQ(qFromLittleEndian<quint32>(wave.constData() + 24), 22050U);
}
