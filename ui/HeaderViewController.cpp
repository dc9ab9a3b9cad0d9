#include "ui/HeaderViewController.h"

#include "base/Localization.h"

#include <QLabel>

using namespace Qt::StringLiterals;

void HeaderViewController::setTitle()
{
    titleLabel->setText(localized(u"header_title"_s));
}
