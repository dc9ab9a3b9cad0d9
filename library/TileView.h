#pragma once

#include <QListView>
#include <QPersistentModelIndex>

#include <functional>

class CollectionViewItem;
class CoverCache;

/// A grid of tiles with even margins. Tiles are painted, not made: ten thousand cost what a
/// screenful costs.
class TileView : public QListView
{
    Q_OBJECT

public:
    /// What the tile of a row shows; asked for when it is painted.
    using ItemForRow = std::function<CollectionViewItem(int)>;

    TileView(CoverCache &covers, ItemForRow itemForRow, QWidget *parent = nullptr);

    void updateCover(const QString &path);
    void reset() override;

Q_SIGNALS:
    void selectedTilesChanged();

protected:
    void resizeEvent(QResizeEvent *event) override;
    void changeEvent(QEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    bool viewportEvent(QEvent *event) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;

private:
    class Delegate;

    void fitGrid();
    void setTileUnderPointer(const QModelIndex &index);

    ItemForRow m_itemForRow;
    QPersistentModelIndex m_underPointer;
    bool m_isOverTile = false; ///< also while that tile's title is gone
    bool m_dimmed = false;
};
