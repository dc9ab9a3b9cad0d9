#pragma once

#include <QAbstractTableModel>

/// The table models' common part: rows of texts under column titles that follow the language.
class TitledTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    using QAbstractTableModel::QAbstractTableModel;

    /// The titles anew in the current language.
    virtual void updateTexts();

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const final;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const final;
    /// The text of a cell, which is also its tool tip and what is read to people.
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

protected:
    [[nodiscard]] virtual int shownRows() const = 0;
    [[nodiscard]] virtual int shownColumns() const = 0;
    /// Empty for a column without title.
    [[nodiscard]] virtual QString titleKey(int column) const = 0;
    [[nodiscard]] virtual QString text(const QModelIndex &index) const = 0;
};
