#include "base/TitledTableModel.h"

#include "base/Localization.h"
#include "base/PlainText.h"

void TitledTableModel::updateTexts()
{
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, shownColumns() - 1);
}

int TitledTableModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : shownRows();
}

int TitledTableModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : shownColumns();
}

QVariant TitledTableModel::data(const QModelIndex &index, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return text(index);
    case Qt::ToolTipRole:
        return shownAsItIs(text(index));
    default:
        return {};
    }
}

QVariant TitledTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal)
        return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant::fromValue(Qt::AlignLeft | Qt::AlignVCenter);
    if (role != Qt::DisplayRole)
        return {};
    const QString key = titleKey(section);
    return key.isEmpty() ? QString() : localized(key);
}
