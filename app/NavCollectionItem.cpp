#include "app/NavCollectionItem.h"

#include "app/NavRowModel.h"
#include "base/ColorConstants.h"
#include "base/ViewColors.h"

#include <QPainter>

namespace {

constexpr int iconSize = 32;
constexpr int margin = 20;
constexpr int gap = 12;
constexpr QMargins focusInset(3, 3, 3, 3);

QRect iconRect(const QRect &cell)
{
    QRect rect(0, 0, iconSize, iconSize);
    rect.moveCenter(cell.center());
    rect.moveLeft(cell.left() + margin);
    return rect;
}

} // namespace

void NavCollectionItem::paint(QPainter &painter, const QStyleOptionViewItem &option)
{
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    painter.save();
    painter.setOpacity(selected ? selectedOpacity : 1.0);
    painter.fillRect(option.rect,
                     selected ? ColorConstants::mainCGColor() : ColorConstants::lightCGColor());
    const QRect icon = iconRect(option.rect);
    option.icon.paint(&painter, icon);
    // See-through text could not be read on the accent colour.
    painter.setOpacity(1.0);
    QFont font = option.font;
    font.setBold(selected);
    painter.setFont(font);
    painter.setPen(selected ? QColor(Qt::white) : ColorConstants::textColor());
    const QRect text = option.rect.adjusted(icon.right() + gap - option.rect.left(), 0, -gap, 0);
    painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                     QFontMetrics(font).elidedText(option.text, Qt::ElideRight, text.width()));
    if (option.state.testFlag(QStyle::State_HasFocus))
        paintFocusFrame(painter, option.rect.marginsRemoved(focusInset));
    painter.restore();
}

QColor DividerCollectionViewItem::lineColor()
{
    return QColor::fromRgbF(1.0F, 1.0F, 1.0F, 0.3F);
}

void DividerCollectionViewItem::paint(QPainter &painter, const QRect &cell)
{
    painter.fillRect(QRect(cell.left() + inset, cell.center().y(), cell.width() - 2 * inset, 1),
                     lineColor());
}

void NavRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                           const QModelIndex &index) const
{
    if (NavRowModel::isDividerRow(index)) {
        DividerCollectionViewItem::paint(*painter, option.rect);
        return;
    }
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    NavCollectionItem::paint(*painter, row);
}

QSize NavRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {option.rect.width(), NavRowModel::isDividerRow(index)
                                     ? DividerCollectionViewItem::height
                                     : NavCollectionItem::height};
}
