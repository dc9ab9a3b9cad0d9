#include "ui/HeaderController.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "base/ViewColors.h"

#include "ui_HeaderViewController.h"

using namespace Qt::StringLiterals;

HeaderController::HeaderController(QWidget *parent)
    : QWidget(parent)
{
    Ui::HeaderViewController outlets;
    outlets.setupUi(this);
    logoImageView = outlets.logoImageView;
    titleLabel = outlets.titleLabel;
    setColor(*titleLabel, QPalette::WindowText, ColorConstants::mainColor());
    titleLabel->setText(localized(u"header_title"_s));
    logoImageView->setImageName(u"quillo_quillo"_s);
}
