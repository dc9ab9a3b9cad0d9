#pragma once

#include "library/ElementTableModel.h"

#include <QAbstractItemView>

/// Where a view of titles stood and what was chosen in it, by title, so that both survive a change
/// of the titles.
class KeptPlace
{
public:
    KeptPlace(const QAbstractItemView &view, const ElementTableModel &model);

    /// Tells nobody but the view's own selection model.
    void restore(QAbstractItemView &view, const ElementTableModel &model) const;

    static void select(QAbstractItemView &view, const ElementTableModel &model,
                       const QStringList &ids);

private:
    QStringList m_selected;
    QString m_current;
    QStringList m_seen; ///< from the topmost title on, as long as they are seen
    int m_top = 0;      ///< of the first one in the viewport
    int m_value = 0;
};
