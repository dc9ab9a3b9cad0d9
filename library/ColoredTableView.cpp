#include "library/ColoredTableView.h"

#include "base/ColorConstants.h"
#include "base/ViewColors.h"
#include "library/RowSlide.h"

#include <QPainter>

#include <algorithm>

void ColoredTableRowView::drawSelection(QPainter &painter, const QRect &row) const
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(selectionColor);
    painter.drawRoundedRect(
        row.adjusted(selectionInset, selectionInset, -selectionInset, -selectionInset),
        selectionRadius, selectionRadius);
}

void ColoredTableRowView::drawFocus(QPainter &painter, const QRect &row) const
{
    paintFocusFrame(painter, row.marginsRemoved(focusInset));
}

ColoredTableView::ColoredTableView(QWidget *parent)
    : QTableView(parent)
{
}

QColor ColoredTableView::rowColor(int row) const
{
    return row % 2 == 1 ? alternatingRowColor : QColor(Qt::white);
}

QRect ColoredTableView::rowRect(int row) const
{
    return {0, rowViewportPosition(row), viewport()->width(), rowHeight(row)};
}

void ColoredTableView::slideUp(const QList<int> &removedRows)
{
    delete m_slide;
    if (isVisible() && !removedRows.isEmpty())
        m_slide = new RowSlide(*this, removedRows);
}

void ColoredTableView::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableView::currentChanged(current, previous);
    updateRow(current.row());
    updateRow(previous.row());
}

void ColoredTableView::scrollTo(const QModelIndex &index, ScrollHint hint)
{
    QTableView::scrollTo(index, hint);
    Q_EMIT rowWanted(index.row());
}

/// Keys go from row to row, never along the cells of one.
QModelIndex ColoredTableView::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    const int last = model()->rowCount() - 1;
    const int column = std::max(0, currentIndex().column());
    switch (action) {
    case MoveHome:
        return model()->index(0, column);
    case MoveEnd:
        return model()->index(last, column);
    case MovePageUp:
    case MovePageDown:
        if (!currentIndex().isValid())
            break;
        return model()->index(
            std::clamp(currentIndex().row() + pageStep(action == MovePageUp), 0, last), column);
    default:
        break;
    }
    return QTableView::moveCursor(action, modifiers);
}

/// A page is what is seen of the rows, not all of them.
int ColoredTableView::pageStep(bool up) const
{
    const int height = std::max(1, rowHeight(currentIndex().row()));
    const int seen = viewport()->visibleRegion().boundingRect().height() / height;
    return std::max(1, seen - 1) * (up ? -1 : 1);
}

/// What is typed is a row's title, wherever in a row the keyboard is.
void ColoredTableView::keyboardSearch(const QString &search)
{
    const QModelIndex title = model()->index(std::max(0, currentIndex().row()), titleColumn);
    if (title.isValid() && title != currentIndex())
        selectionModel()->setCurrentIndex(title, QItemSelectionModel::NoUpdate);
    QTableView::keyboardSearch(search);
}

void ColoredTableView::focusInEvent(QFocusEvent *event)
{
    QTableView::focusInEvent(event);
    updateRow(currentIndex().row());
}

void ColoredTableView::updateRow(int row)
{
    if (row >= 0)
        viewport()->update(rowRect(row));
}

ColoredTableDelegate::ColoredTableDelegate(ColoredTableView &table)
    : QStyledItemDelegate(&table)
    , m_table(table)
{
}

void ColoredTableDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const
{
    painter->save();
    painter->setClipRect(option.rect, Qt::IntersectClip);
    paintRow(*painter, option, index);
    paintContent(*painter, option, index);
    painter->restore();
}

void ColoredTableDelegate::paintRow(QPainter &painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index) const
{
    const ColoredTableRowView row;
    const QRect rowRect = m_table.rowRect(index.row());
    painter.fillRect(option.rect, m_table.rowColor(index.row()));
    painter.setRenderHint(QPainter::Antialiasing);
    if (option.state.testFlag(QStyle::State_Selected))
        row.drawSelection(painter, rowRect);
    if (m_table.hasFocus() && m_table.currentIndex().row() == index.row())
        row.drawFocus(painter, rowRect);
}

void ColoredTableDelegate::paintContent(QPainter &painter, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const
{
    const QRect rect = option.rect.adjusted(ColoredTableRowView::textMargin, 0,
                                            -ColoredTableRowView::textMargin, 0);
    const QString text = index.data(Qt::DisplayRole).toString();
    painter.setPen(ColorConstants::textColor());
    painter.drawText(rect, Qt::AlignLeft | Qt::AlignVCenter,
                     option.fontMetrics.elidedText(text, Qt::ElideRight, rect.width()));
}
