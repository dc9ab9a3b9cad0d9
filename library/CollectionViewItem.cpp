#include "library/CollectionViewItem.h"

#include "base/ColorConstants.h"
#include "base/ViewColors.h"
#include "library/CoverCache.h"

#include <QPainter>
#include <QStyleOptionViewItem>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize coverSize(144, 180);
constexpr int padding = 12;
constexpr int gap = 8;
constexpr int margin = 4; ///< between a tile and its cell
constexpr int border = 2;
constexpr int radius = 6;
constexpr QMargins focusInset(5, 5, 5, 5); ///< clear of the border
constexpr qreal dimmedOpacity = 0.7;

void paintSelection(QPainter &painter, const QRect &tile)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ColorConstants::mainCGColor(), border));
    painter.setBrush(ColorConstants::lightCGColor());
    painter.drawRoundedRect(tile, radius, radius);
}

void paintCover(QPainter &painter, const QRect &area, const QPixmap &cover)
{
    const QSizeF size = cover.deviceIndependentSize();
    // Covers of one row stand on one line.
    painter.drawPixmap(
        QPointF(area.center().x() + 0.5 - size.width() / 2, area.bottom() + 1 - size.height()),
        cover);
}

} // namespace

void CollectionViewItem::configure(const CoverImage &image, const QString &name,
                                   const QString &isbn)
{
    bookImage = image;
    nameLabel = name;
    if (const QString text = isbnText(isbn); !text.isEmpty())
        isbnLabel = text;
}

QString CollectionViewItem::isbnText(const QString &isbn)
{
    return isbn.isEmpty() || isbn == "\"\""_L1 ? QString() : u"ISBN: "_s + isbn;
}

QSize CollectionViewItem::size(const QFontMetrics &metrics)
{
    return {coverSize.width() + 2 * (padding + margin),
            coverSize.height() + 2 * metrics.height() + gap + 2 * (padding + margin)};
}

void CollectionViewItem::paint(QPainter &painter, const QStyleOptionViewItem &option,
                               CoverCache &covers, bool dimmed) const
{
    QRect tile(QPoint(), size(option.fontMetrics) - QSize(2 * margin, 2 * margin));
    tile.moveCenter(option.rect.center());
    painter.save();
    const bool selected = option.state.testFlag(QStyle::State_Selected);
    if (selected)
        paintSelection(painter, tile);
    if (option.state.testFlag(QStyle::State_HasFocus))
        paintFocusFrame(painter, tile.marginsRemoved(focusInset));
    painter.setOpacity(dimmed && !selected ? dimmedOpacity : 1.0);
    const QRect cover(tile.topLeft() + QPoint(padding, padding), coverSize);
    paintCover(painter, cover,
               covers.pixmap(bookImage, coverSize, option.widget->devicePixelRatioF()));
    paintTexts(
        painter, option,
        QRect(cover.left(), cover.bottom() + gap, cover.width(), option.fontMetrics.height()));
    painter.restore();
}

void CollectionViewItem::paintTexts(QPainter &painter, const QStyleOptionViewItem &option,
                                    QRect rect) const
{
    const QFontMetrics &metrics = option.fontMetrics;
    painter.setPen(ColorConstants::textColor());
    painter.setFont(option.font);
    painter.drawText(rect, Qt::AlignHCenter | Qt::AlignVCenter,
                     metrics.elidedText(nameLabel, Qt::ElideRight, rect.width()));
    QFont small = option.font;
    small.setPointSizeF(small.pointSizeF() * 0.9);
    painter.setFont(small);
    rect.translate(0, metrics.height());
    painter.drawText(rect, Qt::AlignHCenter | Qt::AlignVCenter,
                     QFontMetrics(small).elidedText(isbnLabel, Qt::ElideMiddle, rect.width()));
}
