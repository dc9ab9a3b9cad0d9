#include "pen/StorageService.h"

#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Traces.h"

#include "base/Localization.h"
#include "pen/ConfigureService.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double gibi = 1024.0 * 1024.0 * 1024.0;

qint64 bytes(double gibibytes)
{
    return static_cast<qint64>(gibibytes * gibi);
}

struct Volume
{
    const char *name;
    double size; ///< in GiB
    double free;
    double percent;
    QString used;
    QString total;
    QString percentDigits;
};

class StorageTextsTest : public testing::TestWithParam<Volume>
{
protected:
    /// What is shown for the row when `language` is current.
    static StorageTexts texts(const QString &language)
    {
        setCurrentLanguage(language);
        return StorageService::storageTexts(
            StorageService::storageValues({bytes(GetParam().size), bytes(GetParam().free)}));
    }

    ~StorageTextsTest() override { setCurrentLanguage(u"de"_s); }
};

TEST_P(StorageTextsTest, AreInTheCurrentLanguage)
{
    const Volume &row = GetParam();
    const StorageTexts english = texts(u"en"_s);
    EXPECT_EQ(english.percent, row.percent);
    EXPECT_EQ(english.percentText, row.percentDigits);
    EXPECT_EQ(english.storageText, row.used + u" GB used of "_s + row.total + u" GB"_s);
    EXPECT_EQ(english.percentLabelText, row.percentDigits + u" % used "_s);
    const auto withComma = [](QString number) {
        return number.replace(u'.', u',');
    };
    const StorageTexts german = texts(u"de"_s);
    EXPECT_EQ(german.percentText, withComma(row.percentDigits));
    EXPECT_EQ(german.storageText,
              withComma(row.used + u" GB belegt von "_s + row.total + u" GB"_s));
    EXPECT_EQ(german.percentLabelText, row.percentDigits + u" % belegt "_s);
}

INSTANTIATE_TEST_SUITE_P(
    Volumes, StorageTextsTest,
    testing::Values(Volume{"WithoutSize", 0, 0, 0, u"0.0"_s, u"0.0"_s, u"0.0"_s},
                    Volume{"OneOfFourFree", 4, 1, 75, u"3.0"_s, u"4.0"_s, u"75.0"_s},
                    Volume{"TwoTebibytes", 2048, 512, 75, u"1536.0"_s, u"2048.0"_s, u"75.0"_s},
                    Volume{"Full", 100, 0, 100, u"100.0"_s, u"100.0"_s, u"100.0"_s},
                    Volume{"Empty", 8, 8, 0, u"0.0"_s, u"8.0"_s, u"0.0"_s},
                    Volume{"HalfOfAHundredth", 4.25, 2.125, 50, u"2.13"_s, u"4.25"_s, u"50.0"_s},
                    Volume{"HalfOfAPercent", 8, 7, 13, u"1.0"_s, u"8.0"_s, u"13.0"_s},
                    Volume{"UnderHalfOfAPercent", 1000, 995.5, 0, u"4.5"_s, u"1000.0"_s, u"0.0"_s},
                    Volume{"TwoPlaces", 3.68, 2.45, 33, u"1.23"_s, u"3.68"_s, u"33.0"_s},
                    Volume{"AFewBytes", 1, 1 - 1000 / gibi, 0, u"0.0"_s, u"1.0"_s, u"0.0"_s}),
    rowName<Volume>);

using StorageOfPen = PenTest;

TEST_F(StorageOfPen, IsThatOfItsFileSystem)
{
    const auto attributes = FileManager::attributesOfFileSystem(pen.root());
    ASSERT_TRUE(attributes);
    const StorageValues values = StorageService::getStorageValues();
    EXPECT_DOUBLE_EQ(values.total, static_cast<double>(attributes->size) / gibi);
    EXPECT_GT(values.used, 0);
    EXPECT_LT(values.used, values.total);
    EXPECT_DOUBLE_EQ(values.percent, values.used / values.total * 100) << "unrounded";
}

TEST_F(StorageOfPen, IsNothingWithoutPenAndTraced)
{
    pen.pullOut();
    QFile::remove(logPath());
    const StorageTexts texts = StorageService::updateStorageValues();
    EXPECT_EQ(texts.percent, 0);
    EXPECT_EQ(texts.storageText, u"0,0 GB belegt von 0,0 GB"_s);
    EXPECT_EQ(logEntries().filter(u"update"_s),
              (QStringList{u"updateStorageValues Beginn"_s, u"updateStorageValues Ende"_s}));
}

struct Settings
{
    const char *name;
    QByteArray content;
    QString firmware;
    QString image;
};

class VersionTextsTest : public PenTest, public testing::WithParamInterface<Settings>
{
};

TEST_P(VersionTextsTest, AreReadFromTheSettings)
{
    pen.write(u"configure/settings.ini"_s, GetParam().content);
    const VersionTexts texts = ConfigureService::versionTexts();
    EXPECT_EQ(texts.firmware, GetParam().firmware);
    EXPECT_EQ(texts.image, GetParam().image);
    pen.pullOut();
    EXPECT_EQ(ConfigureService::versionTexts().firmware, QString());
    EXPECT_EQ(ConfigureService::versionTexts().image, QString());
}

INSTANTIATE_TEST_SUITE_P(
    SettingsFiles, VersionTextsTest,
    testing::Values(Settings{"Both", "firmwareVersion=12\nImageVersion = 3 \r\n", u"12"_s, u"3"_s},
                    Settings{"OnlyFirmware", "firmwareVersion=12\n", u"12"_s, {}},
                    Settings{"OnlyImage", "name=Quillo\nImageVersion=0\n", {}, u"0"_s},
                    Settings{"NoNumbers", "firmwareVersion=\nImageVersion=neu\n", {}, {}},
                    Settings{"Empty", "", {}, {}}),
    rowName<Settings>);

} // namespace
