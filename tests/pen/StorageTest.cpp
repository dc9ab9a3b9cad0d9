#include "pen/NavStorageItem.h"
#include "pen/StorageController.h"

#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"

#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

constexpr double gibi = 1024.0 * 1024.0 * 1024.0;

class StorageViews : public PenTest, public PenAvailability
{
protected:
    StorageViews()
    {
        setCurrentLanguage(u"de"_s);
        pen.write(u"configure/settings.ini"_s, "firmwareVersion=12\nImageVersion=3\n");
    }
    [[nodiscard]] bool isQuilloAvailable() const override { return available; }

    void pullOut()
    {
        pen.pullOut();
        available = false;
    }

    static void expectText(const QLabel &label, const QString &pattern)
    {
        const QRegularExpression whole(QRegularExpression::anchoredPattern(pattern));
        EXPECT_TRUE(whole.match(label.text()).hasMatch()) << qPrintable(label.text());
    }
    /// The part of the medium that is in use, as bars show it.
    static void expectUsed(const QProgressBar &bar)
    {
        const auto percent = static_cast<int>(StorageService::updateStorageValues().percent);
        EXPECT_NEAR(bar.value(), percent, 1);
        EXPECT_GT(percent, 0);
    }

    bool available = true;
    const QString noStorage = u"0,0 GB belegt von 0,0 GB"_s;
    const QString germanStorage = uR"(\d+,\d+ GB belegt von \d+,\d+ GB)"_s;
};

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
    forEachRow<Row>({{"WithoutSize", 0, 0, 0, u"0.0 GB used of 0.0 GB"_s},
                     {"HalfOfAHundredth", 4.25, 2.125, 50, u"2.13 GB used of 4.25 GB"_s},
                     {"HalfOfAPercent", 1024, 896, 13, u"128.0 GB used of 1024.0 GB"_s},
                     {"TwoPlaces", 3.68, 2.45, 33, u"1.23 GB used of 3.68 GB"_s}},
                    [](const Row &row) {
                        setCurrentLanguage(u"en"_s);
                        const auto values = StorageService::storageValues(
                            {qint64(row.size * gibi), qint64(row.free * gibi)});
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

TEST_F(StorageViews, FiguresAreThoseOfTheFileSystem)
{
    const auto attributes = FileManager::attributesOfFileSystem(pen.root());
    ASSERT_TRUE(attributes);
    const StorageValues values = StorageService::getStorageValues();
    EXPECT_DOUBLE_EQ(values.total, static_cast<double>(attributes->size) / gibi);
    EXPECT_LT(values.used, values.total);
    EXPECT_DOUBLE_EQ(values.percent, values.used / values.total * 100) << "unrounded";
}

TEST_F(StorageViews, GaugeFollowsLanguageAndPen)
{
    NavStorageItem gauge;
    const auto expectTexts = [&](const QString &title, const QString &name,
                                 const QString &detailed) {
        EXPECT_EQ(gauge.storageLabel->text(), title);
        EXPECT_EQ(gauge.progressBar->accessibleName(), name);
        expectText(*gauge.detailedStorageLabel, detailed);
    };
    expectTexts(u"Speicher"_s, u"Belegter Speicher auf dem Stift"_s, germanStorage);
    expectUsed(*gauge.progressBar);
    EXPECT_EQ(gauge.quilloImage->imageName(), u"quillo_quillo_small"_s);
    gauge.resize(220, 92);
    EXPECT_EQ(gauge.grab().toImage().pixelColor(2, 2).rgb(), ColorConstants::mainColor().rgb());

    setCurrentLanguage(u"en"_s);
    pullOut();
    gauge.updateValues();
    expectTexts(u"Storage"_s, u"Used storage on the pen"_s, uR"(0\.0 GB used of 0\.0 GB)"_s);
    EXPECT_EQ(gauge.progressBar->value(), 0);
}

TEST_F(StorageViews, PageShowsFiguresAndVersionsInTheLanguage)
{
    StorageController page(*this);
    const auto expectTexts = [&](const QStringList &texts, const QString &percent) {
        EXPECT_EQ(QStringList({page.storageTitleLabel->text(), page.instructionsTitleLabel->text(),
                               page.firmwareVersionLabel->text(), page.imageVersionLabel->text(),
                               page.applicationVersionLabel->text(), page.manualImage->imageName(),
                               page.manualBacksideImage->imageName()}),
                  texts);
        expectText(*page.storagePercentLabel, percent);
    };
    expectTexts({u"Speicherplatz auf dem Stift"_s, u"Anleitung"_s, u"Firmware-Version: 12"_s,
                 u"Systemsoftware-Version: 3"_s, u"Version: 1.6"_s, u"quillo_anleitung"_s,
                 u"quillo_anleitung_rueckseite"_s},
                uR"(\d+,0 % belegt )"_s);
    expectText(*page.storageLabel, germanStorage);
    expectUsed(*page.storageProgressBar);
    for (const auto &[label, color] :
         {std::pair(page.storageTitleLabel, ColorConstants::mainColor()),
          {page.instructionsTitleLabel, ColorConstants::mainColor()},
          {page.storagePercentLabel, QColor(170, 170, 170)}})
        EXPECT_EQ(label->palette().color(QPalette::WindowText), color);

    setCurrentLanguage(u"en"_s);
    pen.write(u"configure/settings.ini"_s, "ImageVersion=4\n");
    page.languageChanged();
    expectTexts({u"Storage on the pen"_s, u"Instructions"_s, u"Firmware version:"_s,
                 u"System software version: 4"_s, u"Version: 1.6"_s, u"quillo_anleitung_englisch"_s,
                 u"quillo_anleitung_rueckseite_englisch"_s},
                uR"(\d+\.0 % used )"_s);
    available = false;
    page.showVersions();
    EXPECT_EQ(page.imageVersionLabel->text(), u"System software version:"_s);
}

TEST_F(StorageViews, PageFollowsTheNewestGaugeWhileItIsSeen)
{
    const NavStorageItem earlier;
    NavStorageItem gauge;
    StorageController page(*this);
    const QString before = page.storageLabel->text();
    pullOut();
    gauge.updateValues();
    EXPECT_EQ(page.storageLabel->text(), before);
    page.show();
    EXPECT_EQ(page.storageLabel->text(), noStorage);
    EXPECT_EQ(page.storageProgressBar->value(), 0);
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version:"_s);
    pen.plugIn();
    gauge.updateValues();
    EXPECT_NE(page.storageLabel->text(), noStorage);
}

} // namespace
