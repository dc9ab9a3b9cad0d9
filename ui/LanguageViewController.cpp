#include "ui/LanguageViewController.h"

#include "base/ImageView.h"
#include "base/Localization.h"
#include "platform/ToolkitLanguage.h"

#include "ui_LanguageViewController.h"

using namespace Qt::StringLiterals;

LanguageViewController::LanguageViewController(QWidget *parent)
    : QWidget(parent)
{
    Ui::LanguageViewController outlets;
    outlets.setupUi(this);
    germanButton = outlets.germanButton;
    englishButton = outlets.englishButton;
    connect(germanButton, &QToolButton::clicked, this, &LanguageViewController::germanButtonAction);
    connect(englishButton, &QToolButton::clicked, this,
            &LanguageViewController::englishButtonAction);
    showFlags();
    updateTexts();
}

void LanguageViewController::germanButtonAction()
{
    switchTo(u"de"_s);
}

void LanguageViewController::englishButtonAction()
{
    switchTo(u"en"_s);
}

void LanguageViewController::switchTo(const QString &language)
{
    setCurrentLanguage(language);
    showFlags();
    setToolkitLanguage(language);
    updateTexts();
    if (viewController)
        viewController->languageChanged();
}

void LanguageViewController::showFlags()
{
    const bool german = currentLanguage() == "de"_L1;
    englishButton->setIcon(shippedIcon(german ? u"if_United-Kingdom_92403_transparent"_s
                                              : u"if_United-Kingdom_92403"_s));
    germanButton->setIcon(
        shippedIcon(german ? u"if_Germany_92095"_s : u"if_Germany_92095_transparent"_s));
}

void LanguageViewController::updateTexts()
{
    for (const auto &[button, key] : {std::pair{germanButton, u"dropdown_lang_german"_s},
                                      std::pair{englishButton, u"dropdown_lang_english"_s}}) {
        button->setToolTip(localized(key));
        button->setAccessibleName(localized(key));
    }
}
