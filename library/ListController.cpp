#include "library/ListController.h"

#include "library/ColoredTableView.h"
#include "library/CoverCache.h"
#include "library/KeptPlace.h"
#include "library/TableViewUtil.h"

#include <QHeaderView>
#include <QPainter>

namespace {

constexpr QSize coverSize(44, 44);

class CoverDelegate : public ColoredTableDelegate
{
public:
    CoverDelegate(ColoredTableView &table, const ElementTableModel &model, CoverCache &covers)
        : ColoredTableDelegate(table)
        , m_model(model)
        , m_covers(covers)
    {
    }

protected:
    void paintContent(QPainter &painter, const QStyleOptionViewItem &option,
                      const QModelIndex &index) const override
    {
        const std::optional<CoverImage> &image = m_model.elements().at(index.row())->image;
        const QPixmap cover = m_covers.pixmap(image.value_or(dummyCover()), coverSize,
                                              option.widget->devicePixelRatioF());
        option.widget->style()->drawItemPixmap(&painter, option.rect, Qt::AlignCenter, cover);
    }

private:
    const ElementTableModel &m_model;
    CoverCache &m_covers;
};

} // namespace

ListController::ListController(CoverCache &covers, QWidget *parent)
    : TableController(parent)
{
    setUpTable(m_model);
    tableView->setItemDelegateForColumn(ElementTableModel::imageColumn,
                                        new CoverDelegate(*tableView, m_model, covers));
    tableView->horizontalHeader()->setSectionResizeMode(ElementTableModel::titleColumn,
                                                        QHeaderView::Stretch);
    connect(&covers, &CoverCache::ready, this, &ListController::showCover);
}

void ListController::setElements(const ElementList &elements)
{
    const auto quiet = quietly();
    const KeptPlace place(*tableView, m_model);
    m_model.setElements(elements);
    place.restore(*tableView, m_model);
}

QStringList ListController::selectedIds() const
{
    return KeptPlace::markedIds(*tableView, m_model);
}

void ListController::markChoice()
{
    const auto quiet = quietly();
    KeptPlace::markChoice(*tableView, m_model);
}

void ListController::showMarked()
{
    KeptPlace::showMarked(*tableView, m_model);
}

void ListController::removeElements(const QStringList &ids)
{
    const auto quiet = quietly();
    const QList<int> rows = m_model.rowsOf(ids);
    tableView->clearSelection();
    tableView->slideUp(rows);
    m_model.removeElements(ids);
    KeptPlace::standAt(*tableView, m_model, rows.value(0, -1));
}

void ListController::languageChanged()
{
    m_model.updateTexts();
}

void ListController::showCover(const QString &path)
{
    const QRect seen = tableView->viewport()->visibleRegion().boundingRect();
    for (int row = tableView->rowAt(seen.top()); row >= 0 && row < m_model.rowCount(); ++row) {
        const QModelIndex cell = m_model.index(row, ElementTableModel::imageColumn);
        const QRect rect = tableView->visualRect(cell);
        if (rect.top() > seen.bottom())
            return;
        const std::optional<CoverImage> &image = elements().at(row)->image;
        if (image && image->path == path)
            tableView->viewport()->update(rect);
    }
}
