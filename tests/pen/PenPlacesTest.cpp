#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Address.h"
#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace {

QString text(const std::optional<QUrl> &url)
{
    return url ? url->toString(QUrl::FullyEncoded) : u"absent"_s;
}

using PenPlacesTest = PenTest;

} // namespace

TEST_F(PenPlacesTest, ThePenIsKnownByTheWholeNameOfItsVolumeAsSpelledInTheAddress)
{
    const QList<std::pair<QString, std::optional<QString>>> rows = {
        {u"QUILLO"_s, u"QUILLO"_s},     {u"QUILLO_DATA"_s, u"QUILLO_DATA"_s},
        {u"NO NAME"_s, u"NO%20NAME"_s}, {u"NO%20NAME"_s, u"NO%2520NAME"_s},
        {u"quillo"_s, std::nullopt},    {u"QUILLO 1"_s, std::nullopt},
    };
    pen.pullOut();
    for (const auto &[name, spelled] : rows) {
        SCOPED_TRACE(name.toStdString());
        ASSERT_TRUE(QDir(pen.volumes()).mkdir(name));
        EXPECT_EQ(text(URLFactory::getQuilloURL()),
                  spelled ? u"file:///Volumes/"_s + *spelled + u'/' : u"absent"_s);
        EXPECT_EQ(UsbService::getQuilloName(), spelled);
        EXPECT_EQ(UsbService::isMounted(spelled.value_or(QString())), spelled.has_value());
        EXPECT_FALSE(UsbService::isMounted(name.mid(1)));
        ASSERT_TRUE(QDir(pen.volumes()).rmdir(name));
    }
    EXPECT_EQ(URLFactory::url(u"0042"_s, FileType::qnk), std::nullopt);
}

TEST_F(PenPlacesTest, FilesKeepTheirNames)
{
    EXPECT_EQ(text(URLFactory::url(u"123"_s, FileType::png)),
              u"file:///Volumes/QUILLO/book/0123_en.png"_s);
    const QUrl folder = URLFactory::getBookURL().value();
    for (const QString &fileName : {u"a%20b.txt"_s, u"ä#1?.png"_s, u"100%.qnk"_s, u" x "_s})
        EXPECT_EQ(pathOf(URLFactory::fileURL(folder, fileName)),
                  u"/Volumes/QUILLO/book/"_s + fileName);
}

TEST_F(PenPlacesTest, OneCharacterOfSettingsIsEnough)
{
    pen.write(u"configure/settings.ini"_s, "\n");
    EXPECT_TRUE(UsbService::isQuilloConnected());
}

TEST(DeviceName, MayBeThePensWhenItHoldsAnAcceptedName)
{
    for (const QString &name : {u"quillo_data"_s, u"NO NAME"_s, u"no%20name"_s, u"My Quillo 1"_s})
        EXPECT_TRUE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
    for (const QString &name : {u"QUILL"_s, u"NONAME"_s, u""_s, u"QUI LLO"_s})
        EXPECT_FALSE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
}
