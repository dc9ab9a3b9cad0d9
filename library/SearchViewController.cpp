#include "library/SearchViewController.h"

#include "base/Localization.h"
#include "library/ContentOwner.h"
#include "library/LibraryLists.h"

#include "ui_SearchViewController.h"

using namespace Qt::StringLiterals;

namespace {

/// Those whose name contains the text, which is in lower case; all for an empty one.
template <class List, class Name>
List matching(const List &all, const QString &wanted, const Name &name)
{
    List found;
    for (const auto &record : all) {
        if (name(record).toLower().contains(wanted))
            found.append(record);
    }
    return found;
}

} // namespace

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

void SearchViewController::filter(const QString &text)
{
    const QString wanted = text.toLower();
    const auto name = [](const auto &title) {
        return title->name;
    };
    const auto fileName = [](const auto &music) {
        return music->fileName;
    };
    foundBookList() = matching(bookList(), wanted, name);
    foundGameList() = matching(gameList(), wanted, name);
    foundLearningMaterialList() = matching(learningMaterialList(), wanted, name);
    foundMusicList() = matching(musicList(), wanted, fileName);
    foundArchiveList() = matching(archiveList(), wanted, name);
}

void SearchViewController::updateTexts()
{
    searchField->setPlaceholderText(localized(u"search"_s));
    searchField->setAccessibleName(localized(u"search"_s));
}

void SearchViewController::clear()
{
    searchField->clear();
}
