#include "pen/NavStorageItem.h"

#include "base/ApplicationLog.h"
#include "base/ColorConstants.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "base/ViewColors.h"
#include "base/ViewPlacement.h"

#include "ui_NavStorageItem.h"

using namespace Qt::StringLiterals;

QPointer<NavStorageItem> NavStorageItem::current;

NavStorageItem::NavStorageItem(QWidget *parent)
    : QWidget(parent)
{
    loadOutlets();
    current = this;
    setUpColors();
    updateValues();
}

void NavStorageItem::loadOutlets()
{
    view = new QWidget(this);
    Ui::NavStorageItem outlets;
    outlets.setupUi(view);
    pinEdges(*view, *this);
    storageLabel = outlets.storageLabel;
    detailedStorageLabel = outlets.detailedStorageLabel;
    progressBar = outlets.progressBar;
    quilloImage = outlets.quilloImage;
    quilloImage->setImageName(u"quillo_quillo_small"_s);
}

void NavStorageItem::setUpColors()
{
    setBackgroundColor(*view, ColorConstants::mainColor());
    setColor(*view, QPalette::WindowText, Qt::white);
}

void NavStorageItem::updateValues()
{
    writeLog(u"updateValues Beginn"_s);
    storageLabel->setText(localized(u"storage"_s));
    const StorageTexts texts = storageService.updateStorageValues();
    writeLog(u"updateValues nach updateStorageValues"_s);
    progressBar->setValue(static_cast<int>(texts.percent));
    detailedStorageLabel->setText(texts.storageText);
    progressBar->setAccessibleName(localized(u"storage_gauge"_s));
    progressBar->setAccessibleDescription(texts.storageText);
    writeLog(u"updateValues Ende"_s);
    Q_EMIT valuesUpdated();
}
