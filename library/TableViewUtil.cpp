#include "library/TableViewUtil.h"

#include "base/ColorConstants.h"
#include "base/ContentPalette.h"
#include "library/ColoredTableView.h"

#include <QHeaderView>
#include <QPainter>

namespace {

constexpr int headerHeight = 34;

/// Column titles above the texts of their columns, in every desktop style.
class ColumnHeader : public QHeaderView
{
public:
    explicit ColumnHeader(QWidget *parent)
        : QHeaderView(Qt::Horizontal, parent)
    {
    }

protected:
    void paintSection(QPainter *painter, const QRect &rect, int section) const override
    {
        const int margin = ColoredTableRowView::textMargin;
        const bool isSorted = isSortIndicatorShown() && sortIndicatorSection() == section;
        const QRect text = rect.adjusted(margin, 0, isSorted ? -2 * margin : -margin, 0);
        const QString title = model()->headerData(section, Qt::Horizontal).toString();
        painter->fillRect(rect, palette().color(QPalette::Button));
        painter->fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1),
                          ColorConstants::lightCGColor());
        painter->setPen(ColorConstants::textColor());
        painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                          fontMetrics().elidedText(title, Qt::ElideRight, text.width()));
        if (isSorted)
            paintSortIndicator(*painter, rect);
    }

private:
    /// In the place that the margin leaves at the right.
    void paintSortIndicator(QPainter &painter, const QRect &rect) const
    {
        constexpr qreal extent = 4;
        const int up = sortIndicatorOrder() == Qt::AscendingOrder ? -1 : 1;
        const QPointF tip(rect.right() - 2 * extent, rect.center().y() + up * extent / 2);
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(ColorConstants::textColor());
        const QPointF corners[] = {tip, tip + QPointF(-extent, -up * extent),
                                   tip + QPointF(extent, -up * extent)};
        painter.drawPolygon(corners, 3);
        painter.restore();
    }
};

void styleHeader(QHeaderView &header)
{
    header.setFixedHeight(headerHeight);
    header.setHighlightSections(false);
    header.setSectionsClickable(false);
    header.setSectionResizeMode(QHeaderView::Stretch);
    header.setSectionResizeMode(0, QHeaderView::Fixed);
    header.resizeSection(0, TableViewUtil::imageColumnWidth);
    QFont font = header.font();
    font.setBold(true);
    header.setFont(font);
}

} // namespace

void TableViewUtil::style(ColoredTableView &table)
{
    table.setPalette(contentPalette());
    table.setFrameShape(QFrame::NoFrame);
    table.setShowGrid(false);
    table.setWordWrap(false);
    table.setCornerButtonEnabled(false);
    table.setTabKeyNavigation(false);
    table.setEditTriggers(QAbstractItemView::NoEditTriggers);
    table.setSelectionBehavior(QAbstractItemView::SelectRows);
    table.setSelectionMode(QAbstractItemView::ExtendedSelection);
    table.setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    table.setHorizontalHeader(new ColumnHeader(&table));
    table.verticalHeader()->hide();
    table.verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table.verticalHeader()->setMinimumSectionSize(rowHeight);
    table.verticalHeader()->setDefaultSectionSize(rowHeight);
    styleHeader(*table.horizontalHeader());
}

void TableViewUtil::fitToRows(ColoredTableView &table)
{
    table.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    table.setFixedHeight(headerHeight + rowHeight * table.model()->rowCount());
}
