#pragma once

#include "base/Localization.h"

#include <QAbstractItemModel>
#include <QScopedValueRollback>
#include <QWidget>

#include <functional>

class ColoredTableView;

/// A list of the library: the table, its looks, and who is told which rows are selected.
class TableController : public QWidget, public LanguageHandling
{
    Q_OBJECT

public:
    ColoredTableView *tableView;
    /// Takes the selected rows in ascending order.
    std::function<void(const QList<int> &)> selectionChangeHandler;

    /// Without a call of the handler.
    void deselectAll();
    [[nodiscard]] QList<int> selectedRows() const;

protected:
    explicit TableController(QWidget *parent);

    /// Once, by the heir that owns the model.
    void setUpTable(QAbstractItemModel &model);

    /// As long as it lives, the handler is not told of what becomes selected.
    [[nodiscard]] QScopedValueRollback<bool> quietly()
    {
        return QScopedValueRollback(m_quiet, true);
    }

private:
    void selectionChanged();

    bool m_quiet = false;
};
