#include "pen/NavStorageItem.h"
#include "pen/StorageController.h"

#include "tests/support/PenTest.h"
#include "tests/support/Printers.h"
#include "tests/support/Traces.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"

#include <QImage>
#include <QLabel>
#include <QProgressBar>
#include <QRegularExpression>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

class StorageViews : public PenTest, public PenAvailability
{
protected:
    StorageViews()
    {
        setCurrentLanguage(u"de"_s);
        pen.write(u"configure/settings.ini"_s, "firmwareVersion=12\nImageVersion=3\n");
    }
    ~StorageViews() override { setCurrentLanguage(u"de"_s); }

    [[nodiscard]] bool isQuilloAvailable() const override { return available; }

    void pullOut()
    {
        pen.pullOut();
        available = false;
    }

    bool available = true;
};

bool isStorageText(const QString &text, const QString &pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(pattern)).match(text).hasMatch();
}

TEST_F(StorageViews, GaugeShowsTheFiguresInTheCurrentLanguage)
{
    NavStorageItem gauge;
    EXPECT_EQ(gauge.storageLabel->text(), u"Speicher"_s);
    EXPECT_TRUE(isStorageText(gauge.detailedStorageLabel->text(),
                              uR"(\d+,\d+ GB belegt von \d+,\d+ GB)"_s));
    EXPECT_EQ(gauge.progressBar->accessibleName(), u"Belegter Speicher auf dem Stift"_s);
    EXPECT_EQ(gauge.quilloImage->imageName(), u"quillo_quillo_small"_s);
    gauge.resize(220, 92);
    EXPECT_EQ(gauge.grab().toImage().pixelColor(2, 2).rgb(), ColorConstants::mainColor().rgb());

    setCurrentLanguage(u"en"_s);
    gauge.updateValues();
    EXPECT_EQ(gauge.storageLabel->text(), u"Storage"_s);
    EXPECT_TRUE(
        isStorageText(gauge.detailedStorageLabel->text(), uR"(\d+\.\d+ GB used of \d+\.\d+ GB)"_s));
    EXPECT_EQ(gauge.progressBar->accessibleName(), u"Used storage on the pen"_s);
}

TEST_F(StorageViews, GaugeBarFollowsThePen)
{
    NavStorageItem gauge;
    const auto percent = static_cast<int>(StorageService::updateStorageValues().percent);
    EXPECT_NEAR(gauge.progressBar->value(), percent, 1);
    EXPECT_GT(percent, 0);
    pullOut();
    gauge.updateValues();
    EXPECT_EQ(gauge.progressBar->value(), 0);
    EXPECT_EQ(gauge.detailedStorageLabel->text(), u"0,0 GB belegt von 0,0 GB"_s);
}

TEST_F(StorageViews, GaugeTracesEachRefresh)
{
    NavStorageItem gauge;
    QFile::remove(logPath());
    gauge.updateValues();
    EXPECT_EQ(logEntries().filter(u"update"_s),
              (QStringList{u"updateValues Beginn"_s, u"updateStorageValues Beginn"_s,
                           u"updateStorageValues Ende"_s,
                           u"updateValues nach updateStorageValues"_s, u"updateValues Ende"_s}));
}

TEST_F(StorageViews, CurrentGaugeIsTheOneMadeLastAndGoesWithIt)
{
    EXPECT_EQ(NavStorageItem::current, nullptr);
    NavStorageItem first;
    EXPECT_EQ(NavStorageItem::current, &first);
    auto second = std::make_unique<NavStorageItem>();
    EXPECT_EQ(NavStorageItem::current, second.get());
    second.reset();
    EXPECT_EQ(NavStorageItem::current, nullptr);
}

TEST_F(StorageViews, PageShowsFiguresAndVersionsOfThePen)
{
    StorageController page(*this);
    EXPECT_EQ(page.storageTitleLabel->text(), u"Speicherplatz auf dem Stift"_s);
    EXPECT_EQ(page.instructionsTitleLabel->text(), u"Anleitung"_s);
    EXPECT_TRUE(isStorageText(page.storageLabel->text(), uR"(\d+,\d+ GB belegt von \d+,\d+ GB)"_s));
    EXPECT_TRUE(isStorageText(page.storagePercentLabel->text(), uR"(\d+,0 % belegt )"_s));
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version: 12"_s);
    EXPECT_EQ(page.imageVersionLabel->text(), u"Systemsoftware-Version: 3"_s);
    EXPECT_EQ(page.applicationVersionLabel->text(), u"Version: 1.6"_s);
    const auto colour = [](const QLabel &label) {
        return label.palette().color(QPalette::WindowText);
    };
    EXPECT_EQ(colour(*page.storageTitleLabel), ColorConstants::mainColor());
    EXPECT_EQ(colour(*page.instructionsTitleLabel), ColorConstants::mainColor());
    EXPECT_EQ(colour(*page.storagePercentLabel), QColor(170, 170, 170));
}

TEST_F(StorageViews, PageWithoutPenShowsCaptionsOnly)
{
    pullOut();
    const StorageController page(*this);
    EXPECT_EQ(page.storageLabel->text(), u"0,0 GB belegt von 0,0 GB"_s);
    EXPECT_EQ(page.storagePercentLabel->text(), u"0,0 % belegt "_s);
    EXPECT_EQ(page.storageProgressBar->value(), 0);
    EXPECT_EQ(page.applicationVersionLabel->text(), u"Version: 1.6"_s);
}

TEST_F(StorageViews, PageShowsTheVersionsThereAreWhileThePenIsAvailable)
{
    pen.write(u"configure/settings.ini"_s, "ImageVersion=3\n");
    StorageController page(*this);
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version:"_s);
    EXPECT_EQ(page.imageVersionLabel->text(), u"Systemsoftware-Version: 3"_s);
    available = false;
    page.showVersions();
    EXPECT_EQ(page.imageVersionLabel->text(), u"Systemsoftware-Version:"_s);
}

TEST_F(StorageViews, PageFollowsTheLanguage)
{
    StorageController page(*this);
    EXPECT_EQ(page.manualImage->imageName(), u"quillo_anleitung"_s);
    EXPECT_EQ(page.manualBacksideImage->imageName(), u"quillo_anleitung_rueckseite"_s);

    setCurrentLanguage(u"en"_s);
    page.languageChanged();
    EXPECT_EQ(page.storageTitleLabel->text(), u"Storage on the pen"_s);
    EXPECT_EQ(page.instructionsTitleLabel->text(), u"Instructions"_s);
    EXPECT_EQ(page.manualImage->imageName(), u"quillo_anleitung_englisch"_s);
    EXPECT_EQ(page.manualBacksideImage->imageName(), u"quillo_anleitung_rueckseite_englisch"_s);
    EXPECT_TRUE(isStorageText(page.storagePercentLabel->text(), uR"(\d+\.0 % used )"_s));
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware version: 12"_s);
    EXPECT_EQ(page.imageVersionLabel->text(), u"System software version: 3"_s);
}

TEST_F(StorageViews, PageFollowsTheGaugeWhileItIsSeen)
{
    NavStorageItem gauge;
    StorageController page(*this);
    const QString before = page.storageLabel->text();
    pullOut();
    gauge.updateValues();
    EXPECT_EQ(page.storageLabel->text(), before);
    page.show();
    EXPECT_EQ(page.storageLabel->text(), u"0,0 GB belegt von 0,0 GB"_s);
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version:"_s);
    pen.plugIn();
    gauge.updateValues();
    EXPECT_NE(page.storageLabel->text(), u"0,0 GB belegt von 0,0 GB"_s);
}

} // namespace
