#include "app/NavCollectionView.h"

#include "app/NavRowModel.h"
#include "base/OverlayScrolling.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScopedValueRollback>

#include <utility>

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
    if (index.isValid()) {
        setCurrentIndex(index);
        scrollTo(index);
    } else {
        selectionModel()->clear();
    }
}

QModelIndex NavCollectionView::selected() const
{
    return selectionModel() ? selectionModel()->selectedIndexes().value(0) : QModelIndex();
}

void NavCollectionView::choose(const QModelIndex &index)
{
    if (index == selected())
        Q_EMIT chosen(index);
    else
        setCurrentIndex(index);
}

void NavCollectionView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QAbstractItemView::currentChanged(current, previous);
    if (hasFocus())
        tellScreenReader(QAccessible::Focus, current);
}

void NavCollectionView::tellScreenReader(QAccessible::Event type, const QModelIndex &index)
{
    if (!QAccessible::isActive() || !index.isValid())
        return;
    QAccessibleEvent event(this, type);
    event.setChild(static_cast<int>(NavRowModel::categoryRows(model()).indexOf(index.row())));
    QAccessible::updateAccessibility(&event);
}

void NavCollectionView::selectionChanged(const QItemSelection &selected,
                                         const QItemSelection &deselected)
{
    // Not the list's own, which counts the dividers when it tells screen readers.
    QAbstractItemView::selectionChanged(selected, deselected);
    tellScreenReader(QAccessible::SelectionAdd, selected.indexes().value(0));
    if (!m_quiet && !m_pressed && !selected.isEmpty())
        Q_EMIT chosen(selected.indexes().constFirst());
}

/// The mark follows the pointer; only where it is let go is chosen.
void NavCollectionView::mousePressEvent(QMouseEvent *event)
{
    m_pressed = true;
    m_rowBefore = selected().row();
    const QModelIndex index = indexAt(event->position().toPoint());
    m_again = event->button() == Qt::LeftButton && index.isValid() && index == selected();
    QListView::mousePressEvent(event);
}

void NavCollectionView::mouseReleaseEvent(QMouseEvent *event)
{
    QListView::mouseReleaseEvent(event);
    const bool moved = selected().row() != m_rowBefore;
    if (std::exchange(m_pressed, false) && selected().isValid() && (moved || m_again))
        Q_EMIT chosen(selected());
}

void NavCollectionView::keyPressEvent(QKeyEvent *event)
{
    m_pressed = false;
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
    // From nowhere the keyboard comes to the first row.
    if (!currentIndex().isValid())
        return edgeRow(0, 1);
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
