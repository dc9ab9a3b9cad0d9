#include "library/MusicController.h"

#include "base/ImageView.h"
#include "library/ColoredTableView.h"

#include <QHeaderView>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace {

constexpr int durationWidth = 110;
constexpr int sizeWidth = 130;
constexpr int imageSize = 36;

class MusicImageDelegate : public ColoredTableDelegate
{
public:
    MusicImageDelegate(ColoredTableView &table, const QIcon &image)
        : ColoredTableDelegate(table)
        , m_image(image)
    {
    }

protected:
    void paintContent(QPainter &painter, const QStyleOptionViewItem &option,
                      const QModelIndex &) const override
    {
        QRect rect(0, 0, imageSize, imageSize);
        rect.moveCenter(option.rect.center());
        m_image.paint(&painter, rect);
    }

private:
    QIcon m_image;
};

} // namespace

MusicController::MusicController(QWidget *parent)
    : TableController(parent)
    , musicImage(shippedIcon(u"quilo_musik"_s))
{
    setUpTable(m_model);
    tableView->setItemDelegateForColumn(MusicTableModel::image,
                                        new MusicImageDelegate(*tableView, musicImage));
    setColumnWidths();
}

void MusicController::setColumnWidths()
{
    QHeaderView *header = tableView->horizontalHeader();
    for (const auto &[column, width] : {std::pair{MusicTableModel::duration, durationWidth},
                                        std::pair{MusicTableModel::size, sizeWidth}}) {
        header->setSectionResizeMode(column, QHeaderView::Fixed);
        header->resizeSection(column, width);
    }
}

void MusicController::setMusic(const MusicList &music)
{
    const int scrolled = tableView->verticalScrollBar()->value();
    QStringList selected;
    for (const int row : selectedRows())
        selected.append(musicArray().at(row)->fileName);
    m_model.setMusic(music);
    QItemSelection selection;
    for (int row = 0; row < music.size(); ++row) {
        if (selected.contains(music.at(row)->fileName))
            selection.select(m_model.index(row, 0), m_model.index(row, 0));
    }
    const auto quiet = quietly();
    tableView->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect
                                                       | QItemSelectionModel::Rows);
    tableView->verticalScrollBar()->setValue(scrolled);
}

void MusicController::languageChanged()
{
    m_model.updateTexts();
    tableView->setAccessibleName(localized(u"music"_s));
}
