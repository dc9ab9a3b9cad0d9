#include "pen/UsbService.h"

#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

using namespace Qt::StringLiterals;

namespace {

class UsbServiceTest : public PenTest
{
protected:
    /// Expects these steps of the connected test, after "isQuilloConnected ".
    void expectSteps(const QStringList &steps, bool connected)
    {
        const QString prefix = u"isQuilloConnected "_s;
        QStringList entries = loggedBy([&] {
            printed = printedBy([&] { EXPECT_EQ(UsbService::isQuilloConnected(), connected); });
        });
        entries.removeIf([&](const QString &entry) { return !entry.startsWith(prefix); });
        EXPECT_EQ(entries.replaceInStrings(prefix, QString()),
                  QStringList({u"Beginn"_s, u"vor getSettingsFileURL"_s}) + steps
                      + QStringList(u"Ende"_s));
    }

    QStringList printed;
    const QString exists = u"vor filesExists (settingsFile URL)"_s;
    const QString reading = u"vor getFileContent (settingsFileURL)"_s;
    const QString notRead = u"getFileContent (settingsFileURL) failed"_s;
};

} // namespace

TEST_F(UsbServiceTest, OneCharacterOfSettingsIsEnough)
{
    pen.write(u"configure/settings.ini"_s, "\n");
    expectSteps({exists, reading}, true);
    EXPECT_EQ(printed, QStringList(u"\"Quillo is connected.\""_s));
}

TEST_F(UsbServiceTest, SettingsThatAreNoTextAreNotEnough)
{
    for (const QByteArray &settings : {QByteArray(), QByteArray("firmwareVersion=1\n\xff")}) {
        pen.write(u"configure/settings.ini"_s, settings);
        expectSteps({exists, reading, notRead}, false);
        EXPECT_EQ(printed.size(), settings.isEmpty() ? 0 : 1);
    }
}

TEST_F(UsbServiceTest, APenNeedsItsSettingsFile)
{
    pen.remove(u"configure/settings.ini"_s);
    expectSteps({exists, u"fileExists (settingsFileURL) failed"_s}, false);
    pen.write(u"configure/settings.ini/x"_s, "a folder");
    expectSteps({exists, reading, notRead}, false);
}

TEST_F(UsbServiceTest, NoVolumeIsNoPen)
{
    pen.pullOut();
    expectSteps({u"getSettingsFileURL failed"_s}, false);
    EXPECT_EQ(UsbService::getQuilloName(), std::nullopt);
    pen.plugIn();
    EXPECT_TRUE(UsbService::isQuilloConnected());
    EXPECT_EQ(UsbService::getQuilloName(), u"QUILLO"_s);
}

TEST(PenName, IsSpelledAsInTheAddress)
{
    const PenFolder pen(u"NO NAME"_s);
    FolderVolumes volumes(pen.volumes());
    FileManager::setVolumeSource(&volumes);
    EXPECT_EQ(UsbService::getQuilloName(), u"NO%20NAME"_s);
    FileManager::setVolumeSource(nullptr);
}

TEST(DeviceName, MayBeThePensWhenItHoldsAnAcceptedName)
{
    for (const QString &name : {u"quillo_data"_s, u"NO NAME"_s, u"no%20name"_s, u"My Quillo 1"_s})
        EXPECT_TRUE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
    for (const QString &name : {u"QUILL"_s, u"NONAME"_s, u""_s, u"QUI LLO"_s})
        EXPECT_FALSE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
}
