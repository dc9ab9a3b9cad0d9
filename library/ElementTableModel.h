#pragma once

#include "base/TitledTableModel.h"
#include "library/BaseElement.h"

/// One category's titles, a row each. Covers are painted by the views, each in its own size.
class ElementTableModel : public TitledTableModel
{
    Q_OBJECT

public:
    enum Column { imageColumn, titleColumn, publisherColumn, authorColumn, columnCountAll };

    /// A grid shows the titles' names alone.
    enum class Form { Table, Grid };

    explicit ElementTableModel(Form form = Form::Table, QObject *parent = nullptr);

    void setElements(const ElementList &elements);
    [[nodiscard]] const ElementList &elements() const { return m_elements; }
    void removeElements(const QStringList &ids);

    /// The cell with the title's name.
    [[nodiscard]] QModelIndex titleIndex(int row) const;
    /// The row of a title; -1 for none.
    [[nodiscard]] int rowOf(const QString &id) const;
    /// The rows of these titles in ascending order.
    [[nodiscard]] QList<int> rowsOf(const QStringList &ids) const;
    struct RowRange
    {
        int first;
        int last;

        bool operator==(const RowRange &) const = default;
    };
    /// The same in as few pieces as there can be: row by row, many would cost their square.
    [[nodiscard]] QList<RowRange> rangesOf(const QStringList &ids) const;

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

protected:
    [[nodiscard]] int shownRows() const override;
    [[nodiscard]] int shownColumns() const override;
    [[nodiscard]] QString titleKey(int column) const override;
    [[nodiscard]] QString text(const QModelIndex &index) const override;

private:
    [[nodiscard]] int shownColumn(const QModelIndex &index) const;

    const Form m_form;
    ElementList m_elements;
};
