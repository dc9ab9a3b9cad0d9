#include "library/KeptPlace.h"

#include "library/LibraryLists.h"

#include <QScrollBar>

#include <algorithm>

namespace {

/// The selected rows in as few pieces as there can be. Asked of the view row by row, ten thousand
/// would take longer than a person should wait for an alert.
QList<ElementTableModel::RowRange> markedRanges(const QAbstractItemView &view)
{
    QList<ElementTableModel::RowRange> ranges;
    for (const QItemSelectionRange &range : view.selectionModel()->selection())
        ranges.append({range.top(), range.bottom()});
    std::sort(ranges.begin(), ranges.end(),
              [](const auto &one, const auto &other) { return one.first < other.first; });
    QList<ElementTableModel::RowRange> joined;
    for (const auto &range : std::as_const(ranges)) {
        if (!joined.isEmpty() && range.first <= joined.constLast().last + 1)
            joined.last().last = std::max(joined.constLast().last, range.last);
        else
            joined.append(range);
    }
    return joined;
}

} // namespace

KeptPlace::KeptPlace(const QAbstractItemView &view, const ElementTableModel &model)
    : m_value(view.verticalScrollBar()->value())
{
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
    standAt(view, model, model.rowOf(m_current));
    markChoice(view, model);
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

QStringList KeptPlace::markedIds(const QAbstractItemView &view, const ElementTableModel &model)
{
    QStringList ids;
    for (const auto &[first, last] : markedRanges(view)) {
        for (int row = first; row <= last; ++row)
            ids.append(model.elements().at(row)->id);
    }
    return ids;
}

void KeptPlace::standAt(QAbstractItemView &view, const ElementTableModel &model, int row)
{
    const QModelIndex index = model.titleIndex(std::min(row, model.rowCount() - 1));
    if (index.isValid())
        view.selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
}

void KeptPlace::showMarked(QAbstractItemView &view, const ElementTableModel &model)
{
    const QList<ElementTableModel::RowRange> marked = markedRanges(view);
    if (!marked.isEmpty())
        view.scrollTo(model.titleIndex(marked.first().first));
}

void KeptPlace::markChoice(QAbstractItemView &view, const ElementTableModel &model)
{
    const QList<ElementTableModel::RowRange> chosen = model.rangesOf(selectedElementIds());
    // Selecting anew would cut off a selection that the pointer is still drawing.
    if (markedRanges(view) == chosen)
        return;
    if (!view.currentIndex().isValid() && !chosen.isEmpty())
        standAt(view, model, chosen.first().first);
    QItemSelection selection;
    for (const auto &[first, last] : chosen)
        selection.append({model.titleIndex(first), model.titleIndex(last)});
    const bool wholeRows = view.selectionBehavior() == QAbstractItemView::SelectRows;
    view.selectionModel()->select(selection, wholeRows ? QItemSelectionModel::ClearAndSelect
                                                             | QItemSelectionModel::Rows
                                                       : QItemSelectionModel::ClearAndSelect);
}
