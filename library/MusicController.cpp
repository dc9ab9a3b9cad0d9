#include "library/MusicController.h"

#include "base/ImageView.h"
#include "library/ColoredTableView.h"
#include "library/ContentOwner.h"
#include "platform/Address.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"
#include "platform/Workspace.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QSet>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

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

MusicController::MusicController(ContentOwner &viewController, QWidget *parent)
    : TableController(parent)
    , musicImage(shippedIcon(u"quilo_musik"_s))
    , m_viewController(viewController)
{
    setUpTable(m_model);
    tableView->setItemDelegateForColumn(MusicTableModel::image,
                                        new MusicImageDelegate(*tableView, musicImage));
    setUpSorting();
    connect(tableView, &QTableView::doubleClicked, this, &MusicController::play);
    tableView->installEventFilter(this);
}

/// A third click on a title brings back the order of the listing.
void MusicController::setUpSorting()
{
    QHeaderView *header = tableView->horizontalHeader();
    header->setSectionsClickable(true);
    header->setSortIndicatorClearable(true);
    header->setSortIndicator(m_sortColumn, m_sortOrder);
    tableView->setSortingEnabled(true);
    connect(header, &QHeaderView::sortIndicatorChanged, this,
            &MusicController::sortIndicatorChanged);
}

void MusicController::sortIndicatorChanged(int column, Qt::SortOrder order)
{
    if (column == MusicTableModel::image) {
        tableView->horizontalHeader()->setSortIndicator(m_sortColumn, m_sortOrder);
        return;
    }
    m_sortColumn = column;
    m_sortOrder = order;
}

/// No wider than needed, so that the names have room in a narrow window.
void MusicController::setColumnWidths()
{
    QHeaderView *header = tableView->horizontalHeader();
    for (const auto &[column, widest] : {std::pair{MusicTableModel::duration, u"00:00:00"_s},
                                         std::pair{MusicTableModel::size, u"999,9 MB"_s}}) {
        const int text = tableView->fontMetrics().horizontalAdvance(widest);
        header->setSectionResizeMode(column, QHeaderView::Fixed);
        header->resizeSection(column, std::max(text + 2 * ColoredTableRowView::textMargin,
                                               header->sectionSizeHint(column)));
    }
}

void MusicController::setMusic(const MusicList &music)
{
    if (areEqual(m_model.listed(), music))
        return;
    const int scrolled = tableView->verticalScrollBar()->value();
    QSet<QString> selected;
    for (const int row : selectedRows())
        selected.insert(musicArray().at(row)->fileName);
    const QModelIndex current = tableView->currentIndex();
    const QString name = current.isValid() ? musicArray().at(current.row())->fileName : QString();
    m_model.setMusic(music);
    select(selected, name);
    tableView->verticalScrollBar()->setValue(scrolled);
}

/// In as few pieces as there can be: row by row, many would cost their square.
void MusicController::select(const QSet<QString> &names, const QString &current)
{
    QItemSelection selection;
    int first = -1; // of the piece that has begun
    for (int row = 0; row < musicArray().size(); ++row) {
        const QString &name = musicArray().at(row)->fileName;
        const QModelIndex index = m_model.index(row, MusicTableModel::title);
        if (name == current)
            tableView->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
        if (!names.contains(name)) {
            first = -1;
            continue;
        }
        if (first >= 0)
            selection.removeLast();
        else
            first = row;
        selection.append({m_model.index(first, MusicTableModel::title), index});
    }
    const auto quiet = quietly();
    tableView->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect
                                                       | QItemSelectionModel::Rows);
}

bool MusicController::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != tableView || event->type() != QEvent::KeyPress)
        return TableController::eventFilter(watched, event);
    const auto *press = static_cast<QKeyEvent *>(event);
    const bool isReturn = press->key() == Qt::Key_Return || press->key() == Qt::Key_Enter;
    if (isReturn && !press->isAutoRepeat()) // held down, it would start players without end
        play(tableView->currentIndex());
    return isReturn;
}

void MusicController::play(const QModelIndex &index) const
{
    if (!index.isValid())
        return;
    const auto music = musicArray().at(index.row());
    const QString path = pathOf(music->fileURL);
    const std::optional<QString> file = FileManager::realPath(path);
    // The system's player is started in any case, also for a file that has gone.
    if (file && FileManager::stampOf(path) && Workspace::open(urlOf(*file)))
        return;
    debugPrint(u"Cannot be played: "_s + path);
    m_viewController.showMessage([name = music->fileName] {
        return localized(u"music_not_played"_s).replace(u"%@"_s, name);
    });
}

void MusicController::languageChanged()
{
    m_model.updateTexts();
    setColumnWidths();
    tableView->setAccessibleName(localized(u"music"_s));
}
