#include "pen/StorageController.h"

#include "base/ColorConstants.h"
#include "base/FocusMark.h"
#include "base/ImageView.h"
#include "base/ViewColors.h"
#include "pen/ConfigureService.h"
#include "pen/NavStorageItem.h"
#include "platform/ProgramVersion.h"

#include "ui_StorageController.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QColor lightGrey(170, 170, 170);

void showVersion(QLabel &label, const QString &caption, const QString &version)
{
    label.setText(version.isEmpty() ? caption : caption + u' ' + version);
}

} // namespace

StorageController::StorageController(const PenAvailability &mainController, QWidget *parent)
    : QWidget(parent)
    , viewController(mainController)
    , manualImageDefault(u"quillo_anleitung"_s)
    , manualImageEnglish(u"quillo_anleitung_englisch"_s)
    , manualBacksideImageDefault(u"quillo_anleitung_rueckseite"_s)
    , manualBacksideImageEnglish(u"quillo_anleitung_rueckseite_englisch"_s)
{
    loadOutlets();
    setUpColors();
    updateTexts();
    // What changes the gauge's figures changes these.
    if (NavStorageItem::current)
        connect(NavStorageItem::current, &NavStorageItem::valuesUpdated, this,
                &StorageController::gaugeUpdated);
}

void StorageController::gaugeUpdated()
{
    m_outdated = !isVisible();
    if (!m_outdated)
        showStorage();
}

void StorageController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (std::exchange(m_outdated, false))
        showStorage();
}

void StorageController::loadOutlets()
{
    Ui::StorageController outlets;
    outlets.setupUi(this);
    storageProgressBar = outlets.storageProgressBar;
    storageLabel = outlets.storageLabel;
    storagePercentLabel = outlets.storagePercentLabel;
    storageTitleLabel = outlets.storageTitleLabel;
    instructionsTitleLabel = outlets.instructionsTitleLabel;
    firmwareVersionLabel = outlets.firmwareVersionLabel;
    applicationVersionLabel = outlets.applicationVersionLabel;
    imageVersionLabel = outlets.imageVersionLabel;
    manualImage = outlets.manualImage;
    manualBacksideImage = outlets.manualBacksideImage;
    m_scrollView = outlets.scrollView;
    setFocusProxy(m_scrollView);
    new FocusMark(*m_scrollView);
}

void StorageController::setUpColors()
{
    setColor(*storageTitleLabel, QPalette::WindowText, ColorConstants::mainColor());
    setColor(*instructionsTitleLabel, QPalette::WindowText, ColorConstants::mainColor());
    setColor(*storagePercentLabel, QPalette::WindowText, lightGrey);
    setColor(*storageProgressBar, QPalette::Highlight, ColorConstants::mainColor());
}

void StorageController::updateTexts()
{
    storageTitleLabel->setText(localized(u"storage_headline"_s));
    instructionsTitleLabel->setText(localized(u"instruction"_s));
    const bool english = currentLanguage() == "en"_L1;
    manualImage->setImageName(english ? manualImageEnglish : manualImageDefault);
    manualBacksideImage->setImageName(english ? manualBacksideImageEnglish
                                              : manualBacksideImageDefault);
    m_scrollView->setAccessibleName(localized(u"storage_headline"_s));
    manualImage->setAccessibleName(localized(u"instruction"_s) + u" 1"_s);
    manualBacksideImage->setAccessibleName(localized(u"instruction"_s) + u" 2"_s);
    showStorage();
}

void StorageController::showStorage()
{
    storageTitleLabel->setVisible(true);
    const StorageTexts texts = storageService.updateStorageValues();
    storageProgressBar->setValue(static_cast<int>(texts.percent));
    storageLabel->setText(texts.storageText);
    storagePercentLabel->setText(LanguageService::numberText(texts.percentLabelText));
    storageProgressBar->setAccessibleName(localized(u"storage_gauge"_s));
    storageProgressBar->setAccessibleDescription(texts.storageText);
    showVersions();
}

void StorageController::showVersions()
{
    VersionTexts versions;
    if (viewController.isQuilloAvailable())
        versions = ConfigureService::versionTexts();
    showVersion(*firmwareVersionLabel, localized(u"firmware_version"_s), versions.firmware);
    applicationVersionLabel->setText(u"Version: "_s + programVersion());
    showVersion(*imageVersionLabel, localized(u"software_version"_s), versions.image);
}
