#include "library/MusicController.h"

#include "base/ImageView.h"
#include "base/PlainText.h"
#include "base/ViewPlacement.h"
#include "library/ColoredTableView.h"
#include "library/ContentOwner.h"
#include "library/Deletion.h"
#include "library/EmptyState.h"
#include "library/LibraryLists.h"

#include <QHeaderView>
#include <QLayout>
#include <QScrollBar>

using namespace Qt::StringLiterals;

namespace {

constexpr int durationWidth = 110;
constexpr int sizeWidth = 130;
constexpr int imageSize = 36;
constexpr int inset = 8;

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

QString headerKey(int section)
{
    switch (section) {
    case MusicTableModel::title:
        return u"titles"_s;
    case MusicTableModel::duration:
        return u"duration"_s;
    case MusicTableModel::interpret:
        return u"interpret"_s;
    case MusicTableModel::size:
        return u"size"_s;
    default:
        return {};
    }
}

} // namespace

void MusicTableModel::setMusic(const MusicList &music)
{
    beginResetModel();
    m_music = music;
    endResetModel();
}

void MusicTableModel::updateTexts()
{
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCountAll - 1);
}

int MusicTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_music.size());
}

int MusicTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : columnCountAll;
}

QString MusicTableModel::text(const QModelIndex &index) const
{
    const Music &music = *m_music.at(index.row());
    switch (index.column()) {
    case title:
        return music.fileName;
    case duration:
        return music.duration.value_or(QString());
    case interpret:
        return music.interpret.value_or(QString());
    case size:
        return music.sizeString.value_or(QString());
    default:
        return {};
    }
}

QVariant MusicTableModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    if (role == Qt::DisplayRole)
        return text(index);
    if (role == Qt::ToolTipRole)
        return shownAsItIs(text(index));
    if (role == Qt::AccessibleTextRole)
        return index.column() == image ? text(index.siblingAtColumn(title)) : text(index);
    return {};
}

QVariant MusicTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    const QString key = headerKey(section);
    return key.isEmpty() ? QString() : localized(key);
}

MusicController::MusicController(QWidget *parent)
    : TableController(parent)
    , musicImage(shippedIcon(u"quilo_musik"_s))
{
    setUpTable(m_model);
    tableView->setItemDelegateForColumn(MusicTableModel::image,
                                        new MusicImageDelegate(*tableView, musicImage));
    setColumnWidths();
}

MusicController::MusicController(ContentOwner &viewController, QWidget *parent)
    : MusicController(parent)
{
    m_viewController = &viewController;
    layout()->setContentsMargins(inset, inset, inset, inset);
    m_empty = new EmptyStateView(EmptyStateView::Reason::EmptyCategory, this);
    pinEdges(*m_empty, *this);
    selectionChangeHandler = [this](const QList<int> &rows) {
        DeletionSelecting *selection = m_viewController->deletionSelection();
        if (selection && !rows.isEmpty())
            selection->clearSelectedElementIds();
    };
    languageChanged();
    libraryChanged();
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
    const auto handler = std::exchange(selectionChangeHandler, {});
    tableView->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect
                                                       | QItemSelectionModel::Rows);
    selectionChangeHandler = handler;
    tableView->verticalScrollBar()->setValue(scrolled);
}

void MusicController::languageChanged()
{
    m_model.updateTexts();
    tableView->setAccessibleName(localized(u"music"_s));
    if (m_empty)
        m_empty->languageChanged();
}

void MusicController::libraryChanged()
{
    if (m_empty == nullptr)
        return;
    setMusic(musicList());
    m_empty->setReason(emptyReason(m_viewController->isQuilloAvailable()));
    QWidget *shown = tableView;
    QWidget *other = m_empty;
    if (musicArray().isEmpty())
        std::swap(shown, other);
    const bool focused = isAncestorOf(window()->focusWidget());
    shown->show();
    setFocusProxy(shown);
    if (focused)
        setFocus();
    other->hide();
}
