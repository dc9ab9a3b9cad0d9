#pragma once

#include "base/TitledTableModel.h"
#include "library/Music.h"

/// The music files, a row each, in the order of the listing or sorted by a column.
class MusicTableModel : public TitledTableModel
{
    Q_OBJECT

public:
    enum Column { image, title, duration, interpret, size, columnCountAll };

    using TitledTableModel::TitledTableModel;

    /// Replaces the files, which are sorted as those before.
    void setMusic(const MusicList &music);
    /// In the order of the rows.
    [[nodiscard]] const MusicList &music() const { return m_music; }
    /// In the order of the listing.
    [[nodiscard]] const MusicList &listed() const { return m_listed; }

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    /// By what the column means, not by its texts; -1 is the order of the listing. The pictures
    /// sort nothing.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

protected:
    [[nodiscard]] int shownRows() const override;
    [[nodiscard]] int shownColumns() const override;
    [[nodiscard]] QString titleKey(int column) const override;
    [[nodiscard]] QString text(const QModelIndex &index) const override;

private:
    [[nodiscard]] QList<int> order() const;
    void arrange();

    MusicList m_listed;
    MusicList m_music;
    QList<int> m_rows; ///< of the listed ones
    int m_sortColumn = -1;
    Qt::SortOrder m_sortOrder = Qt::AscendingOrder;
};
