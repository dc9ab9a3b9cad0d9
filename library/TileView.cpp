#include "library/TileView.h"

#include "base/ContentPalette.h"
#include "base/OverlayScrolling.h"
#include "library/CollectionViewItem.h"
#include "library/CoverCache.h"
#include "platform/StandardOutput.h"

#include <QMouseEvent>
#include <QStyledItemDelegate>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int viewMargin = 12;

} // namespace

class TileView::Delegate : public QStyledItemDelegate
{
public:
    Delegate(TileView &view, CoverCache &covers, TileView::ItemForRow itemForRow)
        : QStyledItemDelegate(&view)
        , m_view(view)
        , m_covers(covers)
        , m_itemForRow(std::move(itemForRow))
    {
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        m_itemForRow(index.row()).paint(*painter, option, m_covers, m_view.m_dimmed);
    }

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &, const QModelIndex &) const override
    {
        return m_view.gridSize();
    }

private:
    TileView &m_view;
    CoverCache &m_covers;
    TileView::ItemForRow m_itemForRow;
};

TileView::TileView(CoverCache &covers, ItemForRow itemForRow, QWidget *parent)
    : QListView(parent)
    , m_itemForRow(std::move(itemForRow))
{
    setPalette(contentPalette());
    setFrameShape(NoFrame);
    setViewMode(IconMode);
    setMovement(Static);
    setResizeMode(Adjust);
    setUniformItemSizes(true);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setOverlayScrolling(*this); // one that takes width could break the grid that made it appear
    setTabKeyNavigation(false);
    setMouseTracking(true);
    setViewportMargins(viewMargin, viewMargin, 0, 0);
    setItemDelegate(new Delegate(*this, covers, m_itemForRow));
    connect(&covers, &CoverCache::ready, this, &TileView::updateCover);
    fitGrid();
}

void TileView::fitGrid()
{
    const QSize tile = CollectionViewItem::size(fontMetrics());
    // When it wraps, the view keeps a pixel for itself and the width of a scroll bar.
    const int width =
        viewport()->width() - 1 - style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, this);
    const int columns = std::max(1, width / tile.width());
    const QSize grid(std::max(tile.width(), width / columns), tile.height());
    if (grid != gridSize())
        setGridSize(grid);
}

void TileView::resizeEvent(QResizeEvent *event)
{
    fitGrid();
    QListView::resizeEvent(event);
}

void TileView::changeEvent(QEvent *event)
{
    QListView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        fitGrid();
}

void TileView::updateCover(const QString &path)
{
    if (!model())
        return;
    const QRect seen = viewport()->rect();
    const QModelIndex first = indexAt({gridSize().width() / 2, 1});
    for (int row = std::max(0, first.row()); row < model()->rowCount(); ++row) {
        const QRect rect = visualRect(model()->index(row, modelColumn()));
        if (rect.top() > seen.bottom())
            return;
        if (m_itemForRow(row).bookImage.path == path)
            viewport()->update(rect);
    }
}

void TileView::reset()
{
    QListView::reset();
    m_dimmed = false;
    setTileUnderPointer({});
}

void TileView::mouseMoveEvent(QMouseEvent *event)
{
    QListView::mouseMoveEvent(event);
    setTileUnderPointer(indexAt(event->position().toPoint()));
}

bool TileView::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::Leave)
        setTileUnderPointer({});
    return QListView::viewportEvent(event);
}

void TileView::setTileUnderPointer(const QModelIndex &index)
{
    if (m_underPointer == index && m_isOverTile == index.isValid())
        return;
    if (std::exchange(m_isOverTile, index.isValid()))
        print(u"mouse exited"_s);
    if (m_isOverTile)
        print(u"mouse entered"_s);
    m_underPointer = index;
}

void TileView::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QListView::selectionChanged(selected, deselected);
    // What has been set off stays so until the tiles are made anew, even once nothing is selected.
    m_dimmed = true;
    viewport()->update();
    Q_EMIT selectedTilesChanged();
}
