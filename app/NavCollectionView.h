#pragma once

#include <QListView>

/// The sidebar's list: exactly one row stays selected, whatever is clicked.
class NavCollectionView : public QListView
{
    Q_OBJECT

public:
    explicit NavCollectionView(QWidget *parent = nullptr);

    /// Selects without telling anybody.
    void selectQuietly(const QModelIndex &index);
    [[nodiscard]] QModelIndex selected() const;

Q_SIGNALS:
    /// The person chose this row, be it the selected one again.
    void chosen(const QModelIndex &index);

protected:
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    void mousePressEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action,
                                         Qt::KeyboardModifiers modifiers) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags
    selectionCommand(const QModelIndex &index, const QEvent *event) const override;

private:
    [[nodiscard]] QModelIndex edgeRow(int from, int step) const;

    bool m_quiet = false;
};
