#include "platform/Bundle.h"

#include "tests/support/Configuration.h"
#include "tests/support/Rows.h"
#include "tests/support/Traces.h"

#include <QDir>
#include <QImage>
#include <QPainter>
#include <QStandardPaths>
#include <QSvgRenderer>
#include <QUrl>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

using Texts = Bundle::Texts;

QByteArray plist(const QByteArray &content)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + content
           + "</plist>\n";
}

QString shopAddress()
{
    return Bundle::propertyList(u"Url"_s).value(u"SHOP_URL"_s);
}

} // namespace

TEST(PropertyList, TakesItsTextsAndSkipsTheRestAndIsAbsentWhenMalformed)
{
    const QByteArray list =
        "<!DOCTYPE plist PUBLIC \"-//X//DTD PLIST 1.0//EN\" \"http://d.example/\">"
        R"(<plist><dict>
        <key>text</key><string> a &amp; b &#252; </string>
        <key>integer</key><integer>1a</integer> <!-- why -->
        <key>yes</key><true/>
        <key>array</key><array><string>x</string><dict><key>text</key><string>y</string></dict></array>
        <key></key><string/>
    </dict></plist>)";
    EXPECT_EQ(Bundle::parsePropertyList(list),
              Texts({{u"text"_s, u" a & b ü "_s}, {QString(), QString()}}));
    for (qsizetype size = 0; size < list.size(); ++size)
        EXPECT_FALSE(Bundle::parsePropertyList(list.first(size))) << size;
    for (const QByteArray &document :
         {QByteArray("SHOP_URL = x"), plist("<dict><key>a</key><string>\xff\xfe</string></dict>"),
          QByteArray("<dict><key>a</key><string>b</string></dict>"), plist("<array/>"), plist(""),
          plist("<dict/><dict/>"), plist("<dict><string>a</string></dict>"),
          plist("<dict><key>a</key></dict>"), plist("<dict><key>a</key><key>b</key><true/></dict>"),
          plist("<dict><key>a</key><string><b/></string></dict>"),
          "<!DOCTYPE plist [<!ENTITY a \"" + QByteArray(900, 'x')
              + "\"><!ENTITY b \"&a;&a;&a;&a;&a;\">]>" + "<plist><dict><key>a</key><string>&b;"
              + "</string></dict></plist>"})
        EXPECT_FALSE(Bundle::parsePropertyList(document)) << document.constData();
}

TEST(UrlList, ShipsAllNineAddressesUnderAReservedDomain)
{
    const Texts list = Bundle::propertyList(u"Url"_s);
    EXPECT_EQ(list.size(), 9);
    for (auto entry = list.cbegin(); entry != list.cend(); ++entry) {
        const QUrl address(*entry, QUrl::StrictMode);
        EXPECT_TRUE(address.isValid() && address.scheme() == u"https"_s
                    && address.host().endsWith(u".example"_s)
                    && (!entry.key().startsWith(u"STREAMING"_s) || address.path().endsWith(u'/')))
            << qPrintable(entry.key());
    }
}

TEST(UrlList, ComesFromTheChosenFileBeforeTheUsersBeforeTheShippedOne)
{
    const auto shop = [](const QString &address) {
        return propertyList({{u"SHOP_URL"_s, address}});
    };
    const QString own = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    QFile users(own + u"/Url.plist"_s);
    ASSERT_TRUE(QDir().mkpath(own) && users.open(QFile::WriteOnly));
    users.write(shop(u"https://user.example/"_s));
    users.close();
    EXPECT_EQ(shopAddress(), u"https://user.example/"_s);
    const Configuration chosen;
    for (const QString &address : {u"https://chosen.example/"_s, u"https://changed.example/"_s}) {
        chosen.set(shop(address));
        EXPECT_EQ(shopAddress(), address);
    }
    for (const QString &other : {u"Other"_s, u"../Url"_s})
        EXPECT_TRUE(Bundle::propertyList(other).isEmpty());
    users.remove();
}

TEST(UrlList, IsEmptyRatherThanTheShippedOneWhenTheChosenFileIsMissingOrBroken)
{
    const Configuration chosen;
    const QByteArray whole = propertyList({{u"SHOP_URL"_s, u"https://chosen.example/"_s}});
    chosen.set(whole + QByteArray(1024 * 1024 - whole.size(), '\n'));
    EXPECT_FALSE(shopAddress().isEmpty());
    chosen.set(whole + QByteArray(1024 * 1024 + 1 - whole.size(), '\n'));
    EXPECT_TRUE(shopAddress().isEmpty()) << "too large to be one";
    chosen.set("<plist>");
    const QString pipe = chosen.file() + u".pipe"_s;
    ASSERT_EQ(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    for (const QString &file :
         {chosen.file(), u"/no/such/list"_s, QDir::tempPath(), u"/dev/zero"_s, pipe}) {
        Bundle::setConfigurationFile(file);
        EXPECT_TRUE(Bundle::propertyList(u"Url"_s).isEmpty()) << qPrintable(file);
    }
}

TEST(StringTable, TakesTheTextsOfAnObject)
{
    EXPECT_EQ(
        Bundle::parseStringTable(R"({"a": "Bücher \"\u00fc\n", "": "", "n": 7, "o": {"p": "q"},
                                           "twice": "first", "twice": "second"})"),
        Texts({{u"a"_s, u"Bücher \"ü\n"_s}, {QString(), QString()}, {u"twice"_s, u"second"_s}}));
    for (const char *json : {"", "\"a\" = \"b\";", "[]", "{\"a\": \"b\"", "{\"a\": \"\xfc\"}"})
        EXPECT_FALSE(Bundle::parseStringTable(json)) << json;
}

TEST(StringTable, IsAbsentWithoutFolderAndEmptyWhenBrokenWithALineThatSaysSoOnce)
{
    for (const QString &language : {u"fr"_s, QString(), u"images/../de"_s})
        EXPECT_FALSE(Bundle::stringTable(language)) << qPrintable(language);
    EXPECT_TRUE(Bundle::stringTable(u"de"_s));
    const QStringList told = printedBy([] {
        for (int round = 0; round < 2; ++round)
            EXPECT_EQ(Bundle::stringTable(u"broken"_s), Texts());
    });
    EXPECT_EQ(told, QStringList(u"\"No string table in :/broken.lproj\""_s));
}

TEST(Resources, AreFoundByNameOnly)
{
    for (const QString &name : {u"no_such_image"_s, QString(), u"../images/delete"_s})
        EXPECT_FALSE(Bundle::imagePath(name)) << qPrintable(name);
    EXPECT_TRUE(Bundle::imagePath(u"delete"_s));
    EXPECT_FALSE(Bundle::soundPath(u"delete"_s));
    QFile sound(Bundle::soundPath(u"Done"_s).value_or(QString()));
    ASSERT_TRUE(sound.open(QFile::ReadOnly));
    EXPECT_TRUE(sound.read(16).endsWith("WAVEfmt "));
}

TEST(Resources, EveryImageDrawsSomethingInsideItsFrame)
{
    const QStringList images = QDir(u":/images"_s).entryList();
    ASSERT_FALSE(images.isEmpty());
    for (const QString &image : images) {
        SCOPED_TRACE(image.toStdString());
        QSvgRenderer picture(u":/images/"_s + image);
        ASSERT_TRUE(picture.isValid());
        QImage canvas(picture.defaultSize().scaled(160, 160, Qt::KeepAspectRatio),
                      QImage::Format_ARGB32_Premultiplied);
        canvas.fill(Qt::transparent);
        QPainter painter(&canvas);
        picture.render(&painter);
        painter.end();
        const QImage average = canvas.scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        EXPECT_GT(average.pixelColor(0, 0).alpha(), 255 / 50);
    }
}
