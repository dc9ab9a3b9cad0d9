#include "library/TableController.h"

#include "base/ViewPlacement.h"
#include "library/ColoredTableView.h"
#include "library/TableViewUtil.h"

#include <algorithm>

TableController::TableController(QWidget *parent)
    : QWidget(parent)
    , tableView(new ColoredTableView(this))
{
    pinEdges(*tableView, *this);
    setFocusProxy(tableView);
}

void TableController::setUpTable(QAbstractItemModel &model)
{
    tableView->setModel(&model);
    tableView->setItemDelegate(new ColoredTableDelegate(*tableView));
    TableViewUtil::style(*tableView);
    connect(tableView->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TableController::selectionChanged);
}

void TableController::deselectAll()
{
    const auto quiet = quietly();
    tableView->clearSelection();
}

QList<int> TableController::selectedRows() const
{
    QList<int> rows;
    // Asked for row by row, many would cost their square.
    for (const QItemSelectionRange &range : tableView->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.append(row);
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void TableController::selectionChanged()
{
    if (selectionChangeHandler && !m_quiet)
        selectionChangeHandler(selectedRows());
}
