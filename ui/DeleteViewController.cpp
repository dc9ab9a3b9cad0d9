#include "ui/DeleteViewController.h"

#include "base/ImageView.h"
#include "base/Localization.h"
#include "download/QueueWindow.h"
#include "library/ElementService.h"
#include "library/LibraryLists.h"
#include "pen/NavStorageItem.h"
#include "ui/DialogUtil.h"
#include "ui/HeaderMenuOwner.h"
#include "ui/LegalWindowController.h"

#include "ui_DeleteViewController.h"

#include <QHash>
#include <QMenu>
#include <QSet>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace {

/// As the titles call them; one whose record is missing goes by its id.
QStringList namesOf(const QStringList &ids, const ElementList &titles)
{
    QHash<QString, QString> names;
    for (const ElementPtr &title : titles)
        names.insert(title->id, title->name);
    QStringList told;
    for (const QString &id : ids)
        told += names.value(id, id);
    return told;
}

QStringList idsOf(const ElementList &titles)
{
    QStringList ids;
    for (const ElementPtr &title : titles)
        ids += title->id;
    return ids;
}

/// Those of the ids that are among the others, too.
QStringList common(QStringList ids, const QStringList &others)
{
    if (ids == others) // as a rule; a set of ten thousand takes its time
        return ids;
    const QSet<QString> known(others.begin(), others.end());
    ids.removeIf([&known](const QString &id) { return !known.contains(id); });
    return ids;
}

/// Those of the titles that may still be on the pen: of which a file could not be removed, or that
/// the pen still lists.
QStringList stillThere(const QStringList &ids, const QStringList &withFiles)
{
    return common(ids, withFiles + idsOf(allElements()));
}

} // namespace

DeleteViewController::DeleteViewController(QWidget *parent)
    : QWidget(parent)
    , dropDownMenu(new QMenu(this))
    , languageDropDownMenu(new QMenu(this))
{
    Ui::DeleteViewController outlets;
    outlets.setupUi(this);
    deleteButton = outlets.deleteButton;
    deleteButton->setIcon(shippedIcon(u"delete"_s));
    connect(deleteButton, &QToolButton::clicked, this, &DeleteViewController::deleteButtonAction);
    menuButton = outlets.menuButton;
    menuButton->setIcon(shippedIcon(u"menu"_s));
    connect(menuButton, &QToolButton::clicked, this, &DeleteViewController::menuButtonTapped);
    rebuildMenus();
}

void DeleteViewController::setSelectedElementIds(const QStringList &ids)
{
    selectedElementIds() = ids;
    if (DeletionHandling *shown =
            viewController ? viewController->shownDeletionHandling() : nullptr)
        shown->markChoice();
    updateDeleteButton();
}

void DeleteViewController::clearSelectedElementIds()
{
    setSelectedElementIds({});
}

void DeleteViewController::dropGoneTitles()
{
    if (!selectedElementIds().isEmpty())
        selectedElementIds() = common(selectedElementIds(), idsOf(allElements()));
}

QStringList DeleteViewController::visibleChoice() const
{
    const DeletionHandling *shown =
        viewController ? viewController->shownDeletionHandling() : nullptr;
    return shown ? common(selectedElementIds(), shown->markedIds()) : QStringList();
}

void DeleteViewController::updateDeleteButton()
{
    const bool enabled =
        !visibleChoice().isEmpty() && viewController && viewController->isQuilloAvailable();
    // A disabled button would hand the keyboard on to the next one, which ejects the pen.
    if (!enabled && viewController && window()->focusWidget() == deleteButton)
        viewController->focusTitles();
    deleteButton->setEnabled(enabled);
}

void DeleteViewController::addDeleteKey(QWidget &view)
{
    auto *key = new QShortcut(Qt::Key_Delete, &view);
    key->setContext(Qt::WidgetWithChildrenShortcut);
    connect(key, &QShortcut::activated, deleteButton, &QToolButton::click);
}

void DeleteViewController::deleteButtonAction()
{
    const QStringList ids = visibleChoice();
    if (ids.isEmpty())
        return;
    const auto answered = [this, ids, titles = allElements(),
                           pen = viewController->penNumber()](bool confirmed) {
        if (confirmed)
            deleteTitles(ids, titles, pen);
    };
    DialogUtil::confirmDeletion(ids, *this, answered);
}

void DeleteViewController::deleteTitles(const QStringList &ids, const ElementList &titles, int pen)
{
    QStringList withFiles = ids;
    if (DeletionHandling *shown = viewController->shownDeletionHandling())
        shown->willDelete(ids);
    // Another pen in the place of the one that was asked about loses nothing.
    if (pen == viewController->penNumber()) {
        withFiles = ElementService::deleteElements(ids);
        QueueWindow::postTitlesDeleted(ids);
    }
    viewController->getBaseElementsFromPen();
    const QStringList left = stillThere(ids, withFiles);
    if (DeletionHandling *shown = viewController->shownDeletionHandling())
        shown->didDelete();
    if (NavStorageItem::current)
        NavStorageItem::current->updateValues();
    viewController->focusTitles();
    clearSelectedElementIds();
    if (!left.isEmpty())
        DialogUtil::tellDeletionFailed(namesOf(left, titles), *this);
}
