#include "app/NavCollectionView.h"

#include "app/NavRowModel.h"
#include "ui/OverlayScrolling.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScopedValueRollback>

NavCollectionView::NavCollectionView(QWidget *parent)
    : QListView(parent)
{
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setOverlayScrolling(*this);
    setResizeMode(Adjust);
    setTabKeyNavigation(false);
}

void NavCollectionView::selectQuietly(const QModelIndex &index)
{
    const QScopedValueRollback quiet(m_quiet, true);
    setCurrentIndex(index);
    scrollTo(index);
}

QModelIndex NavCollectionView::selected() const
{
    return selectionModel() ? selectionModel()->selectedIndexes().value(0) : QModelIndex();
}

void NavCollectionView::selectionChanged(const QItemSelection &selected,
                                         const QItemSelection &deselected)
{
    QListView::selectionChanged(selected, deselected);
    if (!m_quiet && !selected.isEmpty())
        Q_EMIT chosen(selected.indexes().constFirst());
}

void NavCollectionView::mousePressEvent(QMouseEvent *event)
{
    const QModelIndex before = selected();
    QListView::mousePressEvent(event);
    const bool again = before.isValid() && indexAt(event->position().toPoint()) == before;
    if (again && event->button() == Qt::LeftButton)
        Q_EMIT chosen(before);
}

void NavCollectionView::keyPressEvent(QKeyEvent *event)
{
    const bool confirmed = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (confirmed && selected().isValid())
        Q_EMIT chosen(selected());
    else
        QListView::keyPressEvent(event);
}

QModelIndex NavCollectionView::edgeRow(int from, int step) const
{
    QModelIndex index = model()->index(from, 0);
    while (index.isValid() && NavRowModel::isDividerRow(index))
        index = model()->index(index.row() + step, 0);
    return index;
}

QModelIndex NavCollectionView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    switch (action) {
    case MoveHome:
    case MovePageUp:
        return edgeRow(0, 1);
    case MoveEnd:
    case MovePageDown:
        return edgeRow(model()->rowCount() - 1, -1);
    default:
        return QListView::moveCursor(action, modifiers);
    }
}

QItemSelectionModel::SelectionFlags NavCollectionView::selectionCommand(const QModelIndex &index,
                                                                        const QEvent *) const
{
    const bool selectable = index.isValid() && !NavRowModel::isDividerRow(index);
    return selectable ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}
