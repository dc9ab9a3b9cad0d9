#include "base/Localization.h"
#include "platform/StandardOutput.h"
#include "ui/DeleteViewController.h"
#include "ui/HeaderMenuOwner.h"
#include "ui/LanguageViewController.h"
#include "ui/LegalWindowController.h"

#include <QAction>
#include <QMenu>
#include <QToolButton>

#include <array>

using namespace Qt::StringLiterals;

// The drop-down menu of the header.

namespace {

using ItemTag = DeleteViewController::ItemTag;
using languageItemTag = DeleteViewController::languageItemTag;

QString titleKey(ItemTag tag)
{
    switch (tag) {
    case ItemTag::changeView:
        return u"dropdown_change_view"_s;
    case ItemTag::switchLanguage:
        return u"dropdown_change_lang"_s;
    case ItemTag::bluetooth:
        return u"dropdown_bluetooth"_s;
    case ItemTag::legalInformation:
        return u"dropdown_legal_information"_s;
    case ItemTag::privacy:
        break;
    }
    return u"dropdown_privacy"_s;
}

QString titleKey(languageItemTag tag)
{
    return tag == languageItemTag::german ? u"dropdown_lang_german"_s : u"dropdown_lang_english"_s;
}

constexpr std::array itemTags{ItemTag::changeView, ItemTag::switchLanguage, ItemTag::bluetooth,
                              ItemTag::legalInformation, ItemTag::privacy};
constexpr std::array languageItemTags{languageItemTag::german, languageItemTag::english};

QAction *entryOf(const QMenu &menu, ItemTag tag)
{
    return menu.actions().at(static_cast<int>(tag));
}

/// An entry that has just been chosen is still at work.
void empty(QMenu &menu)
{
    for (QAction *entry : menu.actions()) {
        menu.removeAction(entry);
        entry->deleteLater();
    }
}

void setTexts(QToolButton &button, const QString &key)
{
    button.setToolTip(localized(key));
    button.setAccessibleName(localized(key));
}

} // namespace

void DeleteViewController::rebuildMenus()
{
    empty(*dropDownMenu);
    empty(*languageDropDownMenu);
    languageDropDownMenu->setTitle(localized(u"dropdown_change_lang"_s));
    for (const languageItemTag tag : languageItemTags)
        addEntry(*languageDropDownMenu, titleKey(tag), static_cast<int>(tag));
    markLanguage();
    for (const ItemTag tag : itemTags)
        addEntry(*dropDownMenu, titleKey(tag), static_cast<int>(tag));
    entryOf(*dropDownMenu, ItemTag::switchLanguage)->setMenu(languageDropDownMenu);
    setChangeViewEnabled(m_changeViewEnabled);
    dropDownMenu->setAccessibleName(localized(u"menu_button"_s));
    setTexts(*deleteButton, u"delete_button"_s);
    setTexts(*menuButton, u"menu_button"_s);
}

void DeleteViewController::addEntry(QMenu &menu, const QString &key, int tag)
{
    QAction *entry = menu.addAction(localized(key));
    entry->setData(tag);
    connect(entry, &QAction::triggered, this, [this, entry] { didSelectMenuEntry(*entry); });
}

void DeleteViewController::setChangeViewEnabled(bool enabled)
{
    m_changeViewEnabled = enabled;
    entryOf(*dropDownMenu, ItemTag::changeView)->setEnabled(enabled);
}

void DeleteViewController::menuButtonTapped()
{
    dropDownMenu->popup(menuButton->mapToGlobal(QPoint(0, menuButton->height())));
}

/// An entry is known by its title, to which a desktop may have added an access key.
void DeleteViewController::didSelectMenuEntry(const QAction &entry)
{
    const QString title = QString(entry.text()).remove(u'&');
    const auto isTitle = [&title](const auto &tag) {
        return title == localized(titleKey(tag));
    };
    if (isTitle(ItemTag::changeView))
        viewController->toggleViewMode();
    else if (isTitle(ItemTag::bluetooth))
        viewController->searchPen();
    else if (isTitle(ItemTag::legalInformation) || isTitle(ItemTag::privacy))
        showLegalWindow(title);
    else if (isTitle(languageItemTag::german))
        switchLanguage(languageItemTag::german);
    else if (isTitle(languageItemTag::english))
        switchLanguage(languageItemTag::english);
}

void DeleteViewController::showLegalWindow(const QString &title)
{
    legalWindowController = new LegalWindowController(title, window());
    legalWindowController->showWindow();
}

void DeleteViewController::switchLanguage(languageItemTag tag)
{
    if (tag == languageItemTag::german) {
        viewController->languageSwitch().germanButtonAction();
        print(u"Menu language german"_s);
    } else {
        viewController->languageSwitch().englishButtonAction();
        print(u"Menu language english"_s);
    }
}

void DeleteViewController::markLanguage()
{
    const languageItemTag current =
        currentLanguage() == "de"_L1 ? languageItemTag::german : languageItemTag::english;
    for (QAction *entry : languageDropDownMenu->actions()) {
        entry->setCheckable(true);
        entry->setChecked(entry->data() == static_cast<int>(current));
    }
}
