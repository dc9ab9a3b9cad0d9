#include "pen/UsbService.h"

#include "tests/support/PenTest.h"

using namespace Qt::StringLiterals;

namespace {

class UsbServiceTest : public PenTest
{
protected:
    UsbServiceTest()
        : PenTest(u"NO NAME"_s)
    {
    }
};

} // namespace

TEST_F(UsbServiceTest, OneCharacterOfSettingsIsEnough)
{
    pen.write(u"configure/settings.ini"_s, "\n");
    EXPECT_TRUE(UsbService::isQuilloConnected());
    pen.write(u"configure/settings.ini"_s, "");
    EXPECT_FALSE(UsbService::isQuilloConnected());
}

TEST_F(UsbServiceTest, ThePensNameIsSpelledAsInTheAddress)
{
    EXPECT_EQ(UsbService::getQuilloName(), u"NO%20NAME"_s);
    for (const QString &other : {u"NAME"_s, u"QUILLO"_s, u"AME"_s})
        EXPECT_FALSE(UsbService::isMounted(other)) << qPrintable(other);
    EXPECT_TRUE(UsbService::isMounted(u"NO%20NAME"_s));
    pen.pullOut();
    EXPECT_EQ(UsbService::getQuilloName(), std::nullopt);
    EXPECT_FALSE(UsbService::isMounted(u"NO%20NAME"_s));
}

TEST(DeviceName, MayBeThePensWhenItHoldsAnAcceptedName)
{
    for (const QString &name : {u"quillo_data"_s, u"NO NAME"_s, u"no%20name"_s, u"My Quillo 1"_s})
        EXPECT_TRUE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
    for (const QString &name : {u"QUILL"_s, u"NONAME"_s, u""_s, u"QUI LLO"_s})
        EXPECT_FALSE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
}
