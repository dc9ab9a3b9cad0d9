#include "library/SearchViewController.h"

#include "base/Localization.h"
#include "library/ContentOwner.h"

#include "ui_SearchViewController.h"

using namespace Qt::StringLiterals;

SearchViewController::SearchViewController(QWidget *parent)
    : QWidget(parent)
{
    Ui::SearchViewController outlets;
    outlets.setupUi(this);
    searchField = outlets.searchField;
    setFocusProxy(searchField);
    connect(searchField, &QLineEdit::returnPressed, this, &SearchViewController::searchFieldAction);
    updateTexts();
}

void SearchViewController::searchFieldAction()
{
    filter(searchField->text());
    if (viewController)
        viewController->showFoundTitles(searchField->text());
}

void SearchViewController::filter(const QString &) {}

void SearchViewController::updateTexts()
{
    searchField->setPlaceholderText(localized(u"search"_s));
    searchField->setAccessibleName(localized(u"search"_s));
}

void SearchViewController::clear()
{
    searchField->clear();
}
