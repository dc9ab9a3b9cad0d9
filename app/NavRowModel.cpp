#include "app/NavRowModel.h"

using Type = NavElementType;

QList<NavElement> NavRowModel::buildRows()
{
    constexpr std::array order{
        Type::Divider,           Type::MyTitles, Type::Divider, Type::Books,  Type::Games,
        Type::LearningMaterials, Type::Archive,  Type::Divider, Type::Music,  Type::Videos,
        Type::Divider,           Type::Shop,     Type::Divider, Type::Storage};
    QList<NavElement> rows;
    for (const NavElementType type : order)
        rows.append(navElement(type));
    return rows;
}

void NavRowModel::setRows(const QList<NavElement> &rows)
{
    beginResetModel();
    m_rows = rows;
    endResetModel();
}

bool NavRowModel::isDividerRow(const QModelIndex &index)
{
    return !index.flags().testFlag(Qt::ItemIsSelectable);
}

QList<int> NavRowModel::categoryRows(const QAbstractItemModel *model)
{
    QList<int> rows;
    for (int row = 0; model && row < model->rowCount(); ++row) {
        if (!isDividerRow(model->index(row, 0)))
            rows.append(row);
    }
    return rows;
}

QModelIndex NavRowModel::indexOf(NavElementType type) const
{
    for (int row = 0; row < m_rows.size(); ++row) {
        if (!isDivider(type) && m_rows.at(row).type == type)
            return index(row);
    }
    return {};
}

int NavRowModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant NavRowModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const NavElement &element = m_rows.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return element.name;
    case Qt::DecorationRole:
        return element.image;
    default:
        return {};
    }
}

Qt::ItemFlags NavRowModel::flags(const QModelIndex &index) const
{
    if (!index.isValid() || isDivider(m_rows.at(index.row()).type))
        return Qt::ItemNeverHasChildren;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
}
