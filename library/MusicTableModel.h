#pragma once

#include "library/Music.h"

#include <QAbstractTableModel>

/// The music files, a row each.
class MusicTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum Column { image, title, duration, interpret, size, columnCountAll };

    using QAbstractTableModel::QAbstractTableModel;

    void setMusic(const MusicList &music);
    [[nodiscard]] const MusicList &music() const { return m_music; }
    void updateTexts();

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

private:
    [[nodiscard]] QString text(const QModelIndex &index) const;

    MusicList m_music;
};
