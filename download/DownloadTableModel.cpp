#include "download/DownloadTableModel.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "base/PlainText.h"
#include "download/DownloadWindowController.h"
#include "library/CoverCache.h"
#include "library/DownloadQueue.h"

using namespace Qt::StringLiterals;

static_assert(int{DownloadTableModel::cancelColumn} == DownloadWindowController::cancelColumn);

namespace {

QString text(const UpdateElement &row, int column)
{
    if (column == DownloadTableModel::titleColumn)
        return row.title;
    if (column == DownloadTableModel::statusColumn)
        return localized(statusTextKey(row.downloadType));
    return {};
}

bool hasCross(const UpdateElement &row, int column)
{
    return column == DownloadTableModel::cancelColumn
           && DownloadWindowController::canBeDropped(row);
}

/// Every other row stands on the tint, where only dark text can be read whatever the scheme.
QVariant rowColor(int row, const QColor &color)
{
    return row % 2 == 1 ? QVariant(color) : QVariant();
}

} // namespace

DownloadTableModel::DownloadTableModel(CoverCache &covers, QObject *parent)
    : QAbstractTableModel(parent)
    , m_covers(covers)
    , m_deleteImage(shippedIcon(u"ic_clear_black_24dp_2x"_s))
{
    connect(&m_covers, &CoverCache::ready, this, &DownloadTableModel::coversChanged);
    queueChanged();
}

void DownloadTableModel::queueChanged()
{
    matchRowCount(static_cast<int>(updateElements().size()));
    if (m_rowCount > 0)
        Q_EMIT dataChanged(index(0, 0), index(m_rowCount - 1, columns - 1));
}

void DownloadTableModel::matchRowCount(int rows)
{
    if (rows > m_rowCount) {
        beginInsertRows({}, m_rowCount, rows - 1);
        m_rowCount = rows;
        endInsertRows();
    } else if (rows < m_rowCount) {
        beginRemoveRows({}, rows, m_rowCount - 1);
        m_rowCount = rows;
        endRemoveRows();
    }
}

void DownloadTableModel::updateTexts()
{
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columns - 1);
    queueChanged();
}

void DownloadTableModel::setDevicePixelRatio(qreal ratio)
{
    m_devicePixelRatio = ratio;
    coversChanged();
}

void DownloadTableModel::coversChanged()
{
    if (m_rowCount > 0)
        Q_EMIT dataChanged(index(0, coverColumn), index(m_rowCount - 1, coverColumn),
                           {Qt::DecorationRole});
}

int DownloadTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rowCount;
}

int DownloadTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int{columns};
}

QVariant DownloadTableModel::data(const QModelIndex &index, int role) const
{
    // The queue may have been emptied before queueChanged() says so.
    if (!index.isValid() || index.row() >= updateElements().size())
        return {};
    const UpdateElement &row = std::as_const(updateElements()).at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return text(row, index.column());
    case Qt::ToolTipRole:
        return hasCross(row, index.column()) ? localized(u"drop_row"_s)
                                             : shownAsItIs(text(row, index.column()));
    case Qt::AccessibleTextRole:
        return accessibleText(row, index.column());
    case Qt::DecorationRole:
        return decoration(row, index.column());
    case Qt::BackgroundRole:
        return rowColor(index.row(), ColorConstants::lightCGColor());
    case Qt::ForegroundRole:
        return rowColor(index.row(), ColorConstants::textColor());
    default:
        return {};
    }
}

QVariant DownloadTableModel::decoration(const UpdateElement &row, int column) const
{
    if (column == coverColumn && row.image)
        return m_covers.pixmap(*row.image, coverSize, m_devicePixelRatio);
    if (hasCross(row, column))
        return m_deleteImage;
    return {};
}

QString DownloadTableModel::accessibleText(const UpdateElement &row, int column) const
{
    return hasCross(row, column) ? localized(u"drop_row"_s) + u": "_s + row.title
                                 : text(row, column);
}

QVariant DownloadTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    if (role == Qt::AccessibleTextRole && section == cancelColumn)
        return localized(u"drop_row"_s);
    if (role != Qt::DisplayRole)
        return {};
    if (section == titleColumn)
        return localized(u"titles"_s);
    return section == statusColumn ? localized(u"label_status"_s) : QString();
}
