#pragma once

#include "library/MusicTableModel.h"
#include "library/TableController.h"

#include <QIcon>

class ContentOwner;

/// Music files as a list, which a click on a column title sorts. Double click and Return play a
/// file in the system's player, or tell the person that it cannot be.
class MusicController : public TableController
{
    Q_OBJECT

public:
    explicit MusicController(ContentOwner &viewController, QWidget *parent = nullptr);

    /// Replaces the files; the order, the selection, the keyboard's row and the scroll position
    /// stay where they still are.
    void setMusic(const MusicList &music);
    /// In the order of the rows.
    [[nodiscard]] const MusicList &musicArray() const { return m_model.music(); }

    void languageChanged() override;

    const QIcon musicImage; ///< in every row

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void setColumnWidths();
    void setUpSorting();
    void sortIndicatorChanged(int column, Qt::SortOrder order);
    void select(const QSet<QString> &names, const QString &current);
    void play(const QModelIndex &index) const;

    ContentOwner &m_viewController;
    MusicTableModel m_model;
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
