#include "pen/StorageService.h"

#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include "base/Localization.h"

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
        QString storage;
    };
    forEachRow<Row>(
        {{"WithoutSize", 0, 0, 0, u"0.0 GB used of 0.0 GB"_s},
         {"HalfOfAHundredth", 4.25, 2.125, 50, u"2.13 GB used of 4.25 GB"_s},
         {"HalfOfAPercent", 1024, 896, 13, u"128.0 GB used of 1024.0 GB"_s},
         {"TwoPlaces", 3.68, 2.45, 33, u"1.23 GB used of 3.68 GB"_s}},
        [](const Row &row) {
            setCurrentLanguage(u"en"_s);
            const auto values = StorageService::storageValues({bytes(row.size), bytes(row.free)});
            const StorageTexts english = StorageService::storageTexts(values);
            const QString percent = QString::number(row.percent) + u".0"_s;
            EXPECT_EQ(english.percent, row.percent);
            EXPECT_EQ(english.percentText, percent);
            EXPECT_EQ(english.storageText, row.storage);
            EXPECT_EQ(english.percentLabelText, percent + u" % used "_s);
            setCurrentLanguage(u"de"_s);
            EXPECT_EQ(StorageService::storageTexts(values).percentText,
                      QString(percent).replace(u'.', u','));
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

} // namespace
