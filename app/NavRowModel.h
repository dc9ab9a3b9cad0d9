#pragma once

#include "app/NavElement.h"

#include <QAbstractListModel>
#include <QList>

/// The sidebar's rows. Dividers can be neither selected nor reached by keyboard.
class NavRowModel : public QAbstractListModel
{
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /// The rows in their order, named in the current language.
    [[nodiscard]] static QList<NavElement> buildRows();

    void setRows(const QList<NavElement> &rows);
    [[nodiscard]] const QList<NavElement> &rows() const { return m_rows; }

    [[nodiscard]] static bool isDividerRow(const QModelIndex &index);
    /// The rows of such a model that are no dividers; none of no model.
    [[nodiscard]] static QList<int> categoryRows(const QAbstractItemModel *model);
    /// Where a category stands; invalid for none.
    [[nodiscard]] QModelIndex indexOf(NavElementType type) const;

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

private:
    QList<NavElement> m_rows;
};
