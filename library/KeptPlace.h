#pragma once

#include "library/ElementTableModel.h"

#include <QAbstractItemView>

/// Where a view of titles stood, by title, so that it survives a change of the titles; and what is
/// marked in it.
class KeptPlace
{
public:
    KeptPlace(const QAbstractItemView &view, const ElementTableModel &model);

    /// Tells nobody but the view's own selection model.
    void restore(QAbstractItemView &view, const ElementTableModel &model) const;

    /// Selects the chosen titles and no others. A view without a current title takes the first of
    /// them. Tells nobody but the view's own selection model, and not even that when all is so.
    static void markChoice(QAbstractItemView &view, const ElementTableModel &model);
    /// The selected titles in their order.
    [[nodiscard]] static QStringList markedIds(const QAbstractItemView &view,
                                               const ElementTableModel &model);
    /// The keyboard goes on from this row, or the last one before it; none for -1.
    static void standAt(QAbstractItemView &view, const ElementTableModel &model, int row);
    /// Scrolls to the first selected title, if there is one.
    static void showMarked(QAbstractItemView &view, const ElementTableModel &model);

private:
    QString m_current;
    QStringList m_seen; ///< from the topmost title on, as long as they are seen
    int m_top = 0;      ///< of the first one in the viewport
    int m_value = 0;
};
