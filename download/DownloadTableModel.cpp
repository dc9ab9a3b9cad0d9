#include "download/DownloadTableModel.h"

#include "base/ColorConstants.h"
#include "base/ImageView.h"
#include "base/Localization.h"
#include "download/DownloadWindowController.h"
#include "library/CoverCache.h"
#include "library/DownloadQueue.h"

using namespace Qt::StringLiterals;

static_assert(int{DownloadTableModel::cancelColumn} == DownloadWindowController::cancelColumn);

namespace {

QString headerKey(int column)
{
    if (column == DownloadTableModel::titleColumn)
        return u"titles"_s;
    return column == DownloadTableModel::statusColumn ? u"label_status"_s : QString();
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
    : TitledTableModel(parent)
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
    TitledTableModel::updateTexts();
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

int DownloadTableModel::shownRows() const
{
    return m_rowCount;
}

int DownloadTableModel::shownColumns() const
{
    return columns;
}

QString DownloadTableModel::titleKey(int column) const
{
    return headerKey(column);
}

QString DownloadTableModel::text(const QModelIndex &index) const
{
    const UpdateElement &row = std::as_const(updateElements()).at(index.row());
    if (index.column() == titleColumn)
        return isSystemSoftware(row) ? localized(u"system_software"_s) : row.title;
    return index.column() == statusColumn ? localized(statusTextKey(row.downloadType)) : QString();
}

QVariant DownloadTableModel::data(const QModelIndex &index, int role) const
{
    // The queue may have been emptied before queueChanged() says so.
    if (!index.isValid() || index.row() >= updateElements().size())
        return {};
    const UpdateElement &row = std::as_const(updateElements()).at(index.row());
    const bool isCross = hasCross(row, index.column());
    switch (role) {
    case Qt::ToolTipRole:
        return isCross ? localized(u"drop_row"_s) : TitledTableModel::data(index, role);
    case Qt::AccessibleTextRole:
        return isCross ? localized(u"drop_row"_s) + u": "_s + row.title : text(index);
    case Qt::DecorationRole:
        return decoration(row, index.column());
    case Qt::BackgroundRole:
        return rowColor(index.row(), ColorConstants::lightCGColor());
    case Qt::ForegroundRole:
        return rowColor(index.row(), ColorConstants::textColor());
    default:
        return TitledTableModel::data(index, role);
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

QVariant DownloadTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const bool isRead = orientation == Qt::Horizontal && role == Qt::AccessibleTextRole;
    if (isRead && section == cancelColumn)
        return localized(u"drop_row"_s);
    return TitledTableModel::headerData(section, orientation, role);
}
