#include "library/TileController.h"

#include "base/ApplicationLog.h"
#include "base/Constants.h"
#include "base/ViewPlacement.h"
#include "library/ColoredTableView.h"
#include "library/ContentOwner.h"
#include "library/EmptyState.h"
#include "library/KeptPlace.h"
#include "library/ListController.h"
#include "library/TileView.h"
#include "platform/StandardOutput.h"

#include <QScopedValueRollback>

#include <utility>

using namespace Qt::StringLiterals;

TileController::TileController(ContentOwner &viewController, const Category &category,
                               QWidget *parent)
    : QWidget(parent)
    , collectionView(new TileView(
          viewController.coverCache(), [this](int row) { return itemForRow(row); }, this))
    , m_viewController(viewController)
    , m_category(category)
    , m_empty(new EmptyStateView(EmptyStateView::Reason::EmptyCategory, this))
{
    pinEdges(*m_empty, *this);
    pinEdges(*collectionView, *this);
    collectionView->setModel(&m_model);
    connect(collectionView, &TileView::selectedTilesChanged, this,
            &TileController::provideDeletion);
    languageChanged();
    switchView(viewController.viewMode());
}

const ViewModeHandlingDelegate &TileController::viewModeDelegate() const
{
    return m_viewController;
}

void TileController::switchView(ViewMode mode)
{
    m_mode = mode;
    fill();
    showForm();
    if (isVisible())
        showMarked();
}

QString TileController::name() const
{
    return localized(QString::fromUtf16(m_category.nameKey));
}

void TileController::setUpCollectionView()
{
    const QScopedValueRollback quiet(m_quiet, true);
    const KeptPlace place(*collectionView, m_model);
    m_items.clear();
    m_model.setElements(m_category.titles());
    place.restore(*collectionView, m_model);
}

/// The form that is not shown takes the titles when it is.
void TileController::fill()
{
    if (m_mode == ViewMode::list && setUpListView())
        return;
    m_mode = ViewMode::tiled;
    setUpCollectionView();
}

bool TileController::setUpListView()
{
    if (tableViewController == nullptr) {
        tableViewController = m_category.makeList(m_viewController.coverCache(), this);
        if (tableViewController == nullptr) {
            debugPrint(u"ERROR: Could not setup books table view."_s);
            return false;
        }
        pinEdges(*tableViewController, *this, Constants::listInset);
        tableViewController->tableView->setAccessibleName(name());
        tableViewController->selectionChangeHandler = [this](const QList<int> &rows) {
            QStringList ids;
            for (const int row : rows)
                ids.append(tableViewController->elements().at(row)->id);
            selectTitles(ids);
        };
    }
    tableViewController->setElements(m_category.titles());
    return true;
}

void TileController::markChoice()
{
    const QScopedValueRollback quiet(m_quiet, true);
    if (m_mode == ViewMode::list)
        tableViewController->markChoice();
    else
        KeptPlace::markChoice(*collectionView, m_model);
}

/// Who comes to the view sees what is chosen in it.
void TileController::showMarked()
{
    if (m_mode == ViewMode::list)
        tableViewController->showMarked();
    else
        KeptPlace::showMarked(*collectionView, m_model);
}

void TileController::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    showMarked();
}

bool TileController::takeFocus()
{
    if (shownTitles().isEmpty())
        return false;
    setFocus();
    return true;
}

const ElementList &TileController::shownTitles() const
{
    return m_mode == ViewMode::list ? tableViewController->elements() : m_model.elements();
}

void TileController::showForm()
{
    m_empty->setReason(emptyReason(m_viewController.isQuilloAvailable()));
    QWidget *form = collectionView;
    if (m_mode == ViewMode::list)
        form = tableViewController;
    showAlone(shownTitles().isEmpty() ? *m_empty : *form, *this);
}

CollectionViewItem TileController::itemForRow(int row)
{
    const auto trace = [this](const QString &line) {
        if (m_category.traced)
            writeLog(u"collectionView "_s + line);
    };
    if (const auto known = m_items.constFind(row); known != m_items.constEnd())
        return *known;
    trace(u"Beginn"_s);
    if (row < 0 || row >= m_model.rowCount()) {
        trace(u"return"_s);
        return {};
    }
    const BaseElement &title = *m_model.elements().at(row);
    CollectionViewItem item;
    trace(u"nach collectionItem"_s);
    item.configure(title.image.value_or(dummyCover()), title.name, title.isbn);
    trace(title.name);
    m_items.insert(row, item);
    trace(u"Ende"_s);
    return item;
}

QStringList TileController::markedIds() const
{
    if (m_mode == ViewMode::list)
        return tableViewController->selectedIds();
    return KeptPlace::markedIds(*collectionView, m_model);
}

void TileController::selectTitles(const QStringList &ids)
{
    DeletionSelecting *selection = m_viewController.deletionSelection();
    if (selection && !m_quiet)
        selection->setSelectedElementIds(ids);
}

void TileController::provideDeletion()
{
    selectTitles(markedIds());
}

void TileController::willDelete(const QStringList &ids)
{
    if (m_mode == ViewMode::list)
        return tableViewController->removeElements(ids);
    const QScopedValueRollback quiet(m_quiet, true);
    collectionView->clearSelection();
    m_items.clear();
    const int first = m_model.rowsOf(ids).value(0, -1);
    m_model.removeElements(ids);
    KeptPlace::standAt(*collectionView, m_model, first);
}

void TileController::didDelete()
{
    libraryChanged();
}

QTableView *TileController::listTable()
{
    return tableViewController ? tableViewController->tableView : nullptr;
}

void TileController::libraryChanged()
{
    fill();
    showForm();
}

void TileController::languageChanged()
{
    collectionView->setAccessibleName(name());
    m_empty->languageChanged();
    if (tableViewController == nullptr)
        return;
    tableViewController->tableView->setAccessibleName(name());
    tableViewController->languageChanged();
}
