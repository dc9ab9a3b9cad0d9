#pragma once

#include "library/LibraryViewing.h"
#include "library/Music.h"
#include "library/TableController.h"

#include <QAbstractTableModel>
#include <QIcon>

class EmptyStateView;
class ContentOwner;

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

/// The music on the pen as a list: as a category of its own, following the library, or as part of
/// a page that fills it.
class MusicController : public TableController, public LibraryViewing
{
    Q_OBJECT

public:
    explicit MusicController(QWidget *parent = nullptr);
    explicit MusicController(ContentOwner &viewController, QWidget *parent = nullptr);

    /// Replaces the files; the selection and the scroll position stay where they still are.
    void setMusic(const MusicList &music);
    [[nodiscard]] const MusicList &musicArray() const { return m_model.music(); }

    void languageChanged() override;
    /// A category only.
    void libraryChanged() override;

    const QIcon musicImage; ///< in every row

private:
    void setColumnWidths();

    MusicTableModel m_model;
    ContentOwner *m_viewController = nullptr;
    EmptyStateView *m_empty = nullptr;
};
