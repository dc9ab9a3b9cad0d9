#pragma once

#include "library/MusicTableModel.h"
#include "library/TableController.h"

#include <QIcon>

/// Music files as a list.
class MusicController : public TableController
{
    Q_OBJECT

public:
    explicit MusicController(QWidget *parent = nullptr);

    /// Replaces the files; the selection and the scroll position stay where they still are.
    void setMusic(const MusicList &music);
    [[nodiscard]] const MusicList &musicArray() const { return m_model.music(); }

    void languageChanged() override;

    const QIcon musicImage; ///< in every row

private:
    void setColumnWidths();

    MusicTableModel m_model;
};
