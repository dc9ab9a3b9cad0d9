#include "ui/DeleteViewController.h"

#include "download/QueueWindow.h"
#include "library/ElementService.h"
#include "library/LibraryLists.h"
#include "pen/NavStorageItem.h"
#include "ui/DeletionOwner.h"
#include "ui/DialogUtil.h"
#include "ui/ImageView.h"
#include "ui/Localization.h"

#include "ui_DeleteViewController.h"

#include <QSet>
#include <QShortcut>

using namespace Qt::StringLiterals;

namespace {

/// A title whose record is missing goes by its id.
QHash<QString, QString> namesById(const QStringList &ids)
{
    QHash<QString, QString> names;
    for (const QString &id : ids)
        names.insert(id, id);
    for (const ElementPtr &title : allElements()) {
        if (names.contains(title->id))
            names[title->id] = title->name;
    }
    return names;
}

/// Those of the titles that may still be on the pen: of which a file could not be removed, or that
/// the pen still lists.
QStringList stillThere(const QStringList &ids, const QStringList &withFiles)
{
    QSet<QString> there(withFiles.begin(), withFiles.end());
    for (const ElementPtr &title : allElements())
        there.insert(title->id);
    QStringList left = ids;
    left.removeIf([&there](const QString &id) { return !there.contains(id); });
    return left;
}

} // namespace

DeleteViewController::DeleteViewController(QWidget *parent)
    : QWidget(parent)
{
    Ui::DeleteViewController outlets;
    outlets.setupUi(this);
    deleteButton = outlets.deleteButton;
    deleteButton->setIcon(shippedIcon(u"delete"_s));
    connect(deleteButton, &QToolButton::clicked, this, &DeleteViewController::deleteButtonAction);
    updateTexts();
}

void DeleteViewController::setSelectedElementIds(const QStringList &ids)
{
    selectedElementIds() = ids;
    updateDeleteButton();
}

void DeleteViewController::clearSelectedElementIds()
{
    selectedElementIds().clear();
    updateDeleteButton();
}

void DeleteViewController::updateDeleteButton()
{
    deleteButton->setEnabled(!selectedElementIds().isEmpty() && viewController
                             && viewController->isQuilloAvailable());
}

void DeleteViewController::updateTexts()
{
    deleteButton->setToolTip(localized(u"delete_button"_s));
    deleteButton->setAccessibleName(localized(u"delete_button"_s));
}

void DeleteViewController::addDeleteKey(QWidget &view)
{
    auto *key = new QShortcut(Qt::Key_Delete, &view);
    key->setContext(Qt::WidgetWithChildrenShortcut);
    connect(key, &QShortcut::activated, deleteButton, &QToolButton::click);
}

void DeleteViewController::deleteButtonAction()
{
    const QStringList ids = selectedElementIds();
    DialogUtil::confirmDeletion(ids, *this, [this, ids, names = namesById(ids)](bool confirmed) {
        if (confirmed)
            deleteTitles(ids, names);
    });
}

void DeleteViewController::deleteTitles(const QStringList &ids,
                                        const QHash<QString, QString> &names)
{
    // A choice that has changed since it was confirmed means that the pen has gone: another one in
    // its place must not lose its titles. Asked before the view drops its selection.
    const bool samePen = selectedElementIds() == ids;
    if (DeletionHandling *shown = viewController->shownDeletionHandling())
        shown->willDelete(ids);
    const QStringList withFiles = samePen ? ElementService::deleteElements(ids) : ids;
    if (samePen)
        QueueWindow::postTitlesDeleted(ids);
    viewController->getBaseElementsFromPen();
    const QStringList left = stillThere(ids, withFiles);
    if (DeletionHandling *shown = viewController->shownDeletionHandling())
        shown->didDelete();
    if (NavStorageItem::current)
        NavStorageItem::current->updateValues();
    clearSelectedElementIds();
    if (left.isEmpty())
        return;
    QStringList leftNames;
    for (const QString &id : left)
        leftNames += names.value(id);
    DialogUtil::tellDeletionFailed(leftNames, *this);
}
