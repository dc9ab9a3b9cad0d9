#include "pen/UsbService.h"

#include "tests/support/PenTest.h"
#include "tests/support/Traces.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class UsbServiceTest : public PenTest
{
protected:
    /// Runs the connected test and keeps its own entries of the log.
    void run()
    {
        entries = loggedBy([this] {
            printed = printedBy([this] { connected = UsbService::isQuilloConnected(); });
        });
        entries.removeIf([](const QString &e) { return !e.startsWith(u"isQuilloConnected"_s); });
    }

    bool connected = false;
    QStringList entries;
    QStringList printed;
    const QStringList untilExists = {u"isQuilloConnected Beginn"_s,
                                     u"isQuilloConnected vor getSettingsFileURL"_s,
                                     u"isQuilloConnected vor filesExists (settingsFile URL)"_s};
    const QString beforeReading = u"isQuilloConnected vor getFileContent (settingsFileURL)"_s;
    const QString notRead = u"isQuilloConnected getFileContent (settingsFileURL) failed"_s;
    const QString end = u"isQuilloConnected Ende"_s;
};

} // namespace

TEST_F(UsbServiceTest, OneCharacterOfSettingsIsEnough)
{
    pen.write(u"configure/settings.ini"_s, "\n");
    run();
    EXPECT_TRUE(connected);
    EXPECT_EQ(entries, untilExists + QStringList({beforeReading, end}));
    EXPECT_EQ(printed, QStringList(u"\"Quillo is connected.\""_s));
}

TEST_F(UsbServiceTest, SettingsThatAreNoTextAreNotEnough)
{
    for (const QByteArray &settings : {QByteArray(), QByteArray("firmwareVersion=1\n\xff")}) {
        pen.write(u"configure/settings.ini"_s, settings);
        run();
        EXPECT_FALSE(connected);
        EXPECT_EQ(entries, untilExists + QStringList({beforeReading, notRead, end}));
        EXPECT_EQ(printed.size(), settings.isEmpty() ? 0 : 1);
    }
}

TEST_F(UsbServiceTest, APenNeedsItsSettingsFile)
{
    pen.remove(u"configure/settings.ini"_s);
    run();
    EXPECT_FALSE(connected);
    EXPECT_EQ(entries, untilExists
                           + QStringList({u"isQuilloConnected fileExists (settingsFileURL) "
                                          u"failed"_s,
                                          end}));
    pen.write(u"configure/settings.ini/x"_s, "a folder");
    run();
    EXPECT_FALSE(connected);
    EXPECT_EQ(entries, untilExists + QStringList({beforeReading, notRead, end}));
}

TEST_F(UsbServiceTest, NoVolumeIsNoPen)
{
    pen.pullOut();
    run();
    EXPECT_FALSE(connected);
    EXPECT_EQ(entries, untilExists.mid(0, 2)
                           + QStringList({u"isQuilloConnected getSettingsFileURL failed"_s, end}));
    EXPECT_EQ(UsbService::getQuilloName(), std::nullopt);
    pen.plugIn();
    EXPECT_TRUE(UsbService::isQuilloConnected());
}

TEST_F(UsbServiceTest, NameIsSpelledAsInTheAddress)
{
    EXPECT_EQ(UsbService::getQuilloName(), u"QUILLO"_s);
    const PenFolder other(u"NO NAME"_s);
    FolderVolumes otherVolumes(other.volumes());
    FileManager::setVolumeSource(&otherVolumes);
    EXPECT_EQ(UsbService::getQuilloName(), u"NO%20NAME"_s);
    FileManager::setVolumeSource(nullptr);
}

TEST(DeviceName, MayBeThePensWhenItHoldsAnAcceptedName)
{
    for (const QString &name : {u"Quillo"_s, u"quillo_data"_s, u"NO NAME"_s, u"no%20name"_s,
                                u"My Quillo"_s, u"QUILLO 1"_s})
        EXPECT_TRUE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
    for (const QString &name : {u"USB STICK"_s, u"QUILL"_s, u"NONAME"_s, u""_s, u"QUI LLO"_s})
        EXPECT_FALSE(UsbService::canDeviceNameBeQuillo(name)) << qPrintable(name);
}
