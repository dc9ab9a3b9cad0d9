#include "pen/NavStorageItem.h"
#include "pen/StorageController.h"

#include "tests/support/PenTest.h"

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

TEST_F(StorageViews, GaugeFollowsLanguageAndPen)
{
    NavStorageItem gauge;
    EXPECT_EQ(gauge.storageLabel->text(), u"Speicher"_s);
    expectText(*gauge.detailedStorageLabel, germanStorage);
    expectUsed(*gauge.progressBar);
    EXPECT_EQ(gauge.progressBar->accessibleName(), u"Belegter Speicher auf dem Stift"_s);
    EXPECT_EQ(gauge.quilloImage->imageName(), u"quillo_quillo_small"_s);
    gauge.resize(220, 92);
    EXPECT_EQ(gauge.grab().toImage().pixelColor(2, 2).rgb(), ColorConstants::mainColor().rgb());

    setCurrentLanguage(u"en"_s);
    gauge.updateValues();
    EXPECT_EQ(gauge.storageLabel->text(), u"Storage"_s);
    expectText(*gauge.detailedStorageLabel, uR"(\d+\.\d+ GB used of \d+\.\d+ GB)"_s);
    EXPECT_EQ(gauge.progressBar->accessibleName(), u"Used storage on the pen"_s);

    pullOut();
    gauge.updateValues();
    EXPECT_EQ(gauge.progressBar->value(), 0);
    EXPECT_EQ(gauge.detailedStorageLabel->text(), u"0.0 GB used of 0.0 GB"_s);
}

TEST_F(StorageViews, CurrentGaugeIsTheOneMadeLastAndGoesWithIt)
{
    const NavStorageItem first;
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
    expectText(*page.storageLabel, germanStorage);
    expectText(*page.storagePercentLabel, uR"(\d+,0 % belegt )"_s);
    expectUsed(*page.storageProgressBar);
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version: 12"_s);
    EXPECT_EQ(page.imageVersionLabel->text(), u"Systemsoftware-Version: 3"_s);
    EXPECT_EQ(page.applicationVersionLabel->text(), u"Version: 1.6"_s);
    for (const auto &[label, color] :
         {std::pair(page.storageTitleLabel, ColorConstants::mainColor()),
          {page.instructionsTitleLabel, ColorConstants::mainColor()},
          {page.storagePercentLabel, QColor(170, 170, 170)}})
        EXPECT_EQ(label->palette().color(QPalette::WindowText), color);

    pen.write(u"configure/settings.ini"_s, "ImageVersion=4\n");
    page.showVersions();
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version:"_s);
    EXPECT_EQ(page.imageVersionLabel->text(), u"Systemsoftware-Version: 4"_s);
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
    expectText(*page.storagePercentLabel, uR"(\d+\.0 % used )"_s);
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
    EXPECT_EQ(page.storageLabel->text(), noStorage);
    EXPECT_EQ(page.storagePercentLabel->text(), u"0,0 % belegt "_s);
    EXPECT_EQ(page.storageProgressBar->value(), 0);
    EXPECT_EQ(page.firmwareVersionLabel->text(), u"Firmware-Version:"_s);
    pen.plugIn();
    gauge.updateValues();
    EXPECT_NE(page.storageLabel->text(), noStorage);
}

} // namespace
