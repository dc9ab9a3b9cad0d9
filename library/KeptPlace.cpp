#include "library/KeptPlace.h"

#include <QScrollBar>

KeptPlace::KeptPlace(const QAbstractItemView &view, const ElementTableModel &model)
    : m_value(view.verticalScrollBar()->value())
{
    QModelIndexList selected = view.selectionModel()->selectedIndexes();
    selected.removeIf(
        [&model](const QModelIndex &index) { return index != model.titleIndex(index.row()); });
    m_selected = model.idsOf(selected);
    if (view.currentIndex().isValid())
        m_current = model.elements().at(view.currentIndex().row())->id;
    const QRect seen = view.viewport()->rect();
    QModelIndex index = view.indexAt(seen.topLeft() + QPoint(seen.width() / 2, 1));
    if (m_value == 0 || !index.isValid())
        return;
    m_top = view.visualRect(index).top();
    for (int row = index.row(); row < model.rowCount(); ++row) {
        if (view.visualRect(model.titleIndex(row)).top() > seen.bottom())
            break;
        m_seen.append(model.elements().at(row)->id);
    }
}

void KeptPlace::restore(QAbstractItemView &view, const ElementTableModel &model) const
{
    // Positions are asked for below.
    view.doItemsLayout();
    const int current = model.rowOf(m_current);
    if (current >= 0)
        view.selectionModel()->setCurrentIndex(model.titleIndex(current),
                                               QItemSelectionModel::NoUpdate);
    select(view, model, m_selected);
    view.verticalScrollBar()->setValue(m_value);
    for (const QString &id : m_seen) {
        const int row = model.rowOf(id);
        if (row < 0)
            continue;
        const int top = view.visualRect(model.titleIndex(row)).top();
        view.verticalScrollBar()->setValue(view.verticalScrollBar()->value() + top - m_top);
        return;
    }
}

void KeptPlace::select(QAbstractItemView &view, const ElementTableModel &model,
                       const QStringList &ids)
{
    QItemSelection selection;
    for (const auto &[first, last] : model.rangesOf(ids))
        selection.append({model.titleIndex(first), model.titleIndex(last)});
    const bool wholeRows = view.selectionBehavior() == QAbstractItemView::SelectRows;
    view.selectionModel()->select(selection, wholeRows ? QItemSelectionModel::ClearAndSelect
                                                             | QItemSelectionModel::Rows
                                                       : QItemSelectionModel::ClearAndSelect);
}
