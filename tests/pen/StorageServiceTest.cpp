#include "pen/StorageService.h"

#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include "base/Localization.h"
#include "pen/ConfigureService.h"

using namespace Qt::StringLiterals;

namespace {

constexpr double gibi = 1024.0 * 1024.0 * 1024.0;

qint64 bytes(double gibibytes)
{
    return static_cast<qint64>(gibibytes * gibi);
}

TEST(StorageTextsOfAVolume, AreInTheCurrentLanguage)
{
    struct Row
    {
        const char *name;
        double size; ///< in GiB
        double free;
        double percent;
        QString used;
        QString total;
        QString percentDigits;
    };
    const auto texts = [](const Row &row, const QString &language) {
        setCurrentLanguage(language);
        return StorageService::storageTexts(
            StorageService::storageValues({bytes(row.size), bytes(row.free)}));
    };
    forEachRow<Row>(
        {{"WithoutSize", 0, 0, 0, u"0.0"_s, u"0.0"_s, u"0.0"_s},
         {"TwoTebibytes", 2048, 512, 75, u"1536.0"_s, u"2048.0"_s, u"75.0"_s},
         {"HalfOfAHundredth", 4.25, 2.125, 50, u"2.13"_s, u"4.25"_s, u"50.0"_s},
         {"HalfOfAPercent", 8, 7, 13, u"1.0"_s, u"8.0"_s, u"13.0"_s},
         {"UnderHalfOfAPercent", 1000, 995.5, 0, u"4.5"_s, u"1000.0"_s, u"0.0"_s},
         {"TwoPlaces", 3.68, 2.45, 33, u"1.23"_s, u"3.68"_s, u"33.0"_s},
         {"AFewBytes", 1, 1 - 1000 / gibi, 0, u"0.0"_s, u"1.0"_s, u"0.0"_s}},
        [&](const Row &row) {
            const StorageTexts english = texts(row, u"en"_s);
            EXPECT_EQ(english.percent, row.percent);
            EXPECT_EQ(english.percentText, row.percentDigits);
            EXPECT_EQ(english.storageText, row.used + u" GB used of "_s + row.total + u" GB"_s);
            EXPECT_EQ(english.percentLabelText, row.percentDigits + u" % used "_s);
            const StorageTexts german = texts(row, u"de"_s);
            EXPECT_EQ(german.percentText, QString(row.percentDigits).replace(u'.', u','));
            EXPECT_EQ(german.storageText,
                      QString(row.used + u" GB belegt von "_s + row.total).replace(u'.', u',')
                          + u" GB"_s);
            EXPECT_EQ(german.percentLabelText, row.percentDigits + u" % belegt "_s);
        });
}

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

TEST_F(StorageOfPen, VersionsAreThoseOfItsSettings)
{
    pen.write(u"configure/settings.ini"_s, "firmwareVersion=12\nImageVersion = 3 \r\n");
    EXPECT_EQ(ConfigureService::versionTexts().firmware, u"12"_s);
    EXPECT_EQ(ConfigureService::versionTexts().image, u"3"_s);
    pen.write(u"configure/settings.ini"_s, "firmwareVersion=\nImageVersion=neu\n");
    EXPECT_EQ(ConfigureService::versionTexts().firmware, QString());
    EXPECT_EQ(ConfigureService::versionTexts().image, QString());
}

} // namespace
