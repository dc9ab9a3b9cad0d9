#pragma once

#include "base/TitledTableModel.h"

#include <QIcon>

class CoverCache;
struct UpdateElement;

/// The download queue as the window's table shows it. Reads the rows of updateElements() where they
/// stand; whoever changes them calls queueChanged().
class DownloadTableModel : public TitledTableModel
{
    Q_OBJECT

public:
    enum Column { coverColumn, titleColumn, statusColumn, cancelColumn, columns };

    static constexpr int rowHeight = 32;
    static constexpr QSize coverSize{28, 28};

    explicit DownloadTableModel(CoverCache &covers, QObject *parent = nullptr);

    /// Rows are added and removed at the end and all others shown anew, so that a view keeps its
    /// position and selection.
    void queueChanged();
    /// Those of the cells, too.
    void updateTexts() override;
    void setDevicePixelRatio(qreal ratio);

    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation,
                                      int role) const override;

protected:
    [[nodiscard]] int shownRows() const override;
    [[nodiscard]] int shownColumns() const override;
    [[nodiscard]] QString titleKey(int column) const override;
    [[nodiscard]] QString text(const QModelIndex &index) const override;

private:
    [[nodiscard]] QVariant decoration(const UpdateElement &row, int column) const;
    void matchRowCount(int rows);
    void coversChanged();

    CoverCache &m_covers;
    QIcon m_deleteImage;
    qreal m_devicePixelRatio = 1;
    int m_rowCount = 0; ///< as the views know it
};
