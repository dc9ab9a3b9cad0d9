#include "library/SearchViewController.h"

#include "base/ImageView.h"
#include "base/Localization.h"
#include "library/ContentOwner.h"
#include "library/LibraryLists.h"

#include "ui_SearchViewController.h"

#include <QKeyEvent>

using namespace Qt::StringLiterals;

namespace {

/// One form for all ways to write a letter: other systems name files with the marks of their
/// letters apart.
QString folded(const QString &text)
{
    return text.toLower().normalized(QString::NormalizationForm_C);
}

/// Those whose name contains the folded text; all for an empty one.
template <class List, class Name>
List matching(const List &all, const QString &wanted, const Name &name)
{
    List found;
    for (const auto &record : all) {
        if (folded(name(record)).contains(wanted))
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
    searchField->addAction(shippedIcon(u"search"_s), QLineEdit::LeadingPosition);
    searchField->installEventFilter(this);
    m_pause.setSingleShot(true);
    connect(searchField, &QLineEdit::returnPressed, this, &SearchViewController::searchFieldAction);
    connect(searchField, &QLineEdit::textEdited, this, [this] { m_pause.start(pause); });
    connect(&m_pause, &QTimer::timeout, this, &SearchViewController::pauseInTyping);
    updateTexts();
}

void SearchViewController::pauseInTyping()
{
    if (!searchField->text().isEmpty())
        searchFieldAction();
    else if (viewController)
        viewController->closeFoundTitles();
}

bool SearchViewController::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (key == Qt::Key_Escape)
        leave();
    else if (key == Qt::Key_Down && viewController)
        viewController->focusTitles();
    else
        return QWidget::eventFilter(watched, event);
    return true;
}

void SearchViewController::leave()
{
    clear();
    if (viewController)
        viewController->closeFoundTitles();
}

void SearchViewController::searchFieldAction()
{
    endPause();
    filter(searchField->text());
    if (viewController)
        viewController->showFoundTitles(searchField->text());
}

void SearchViewController::filter(const QString &text)
{
    const QString wanted = folded(text);
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
    endPause();
    searchField->clear();
}

void SearchViewController::endPause()
{
    m_pause.stop();
}

void SearchViewController::takeFocus()
{
    searchField->setFocus(Qt::ShortcutFocusReason);
    searchField->selectAll();
}
