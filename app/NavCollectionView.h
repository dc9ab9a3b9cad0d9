#pragma once

#include <QAccessible>
#include <QListView>

/// The sidebar's list: whatever is clicked, one row stays selected, or none while what is shown
/// belongs to no row.
class NavCollectionView : public QListView
{
    Q_OBJECT

public:
    explicit NavCollectionView(QWidget *parent = nullptr);

    /// Selects without telling anybody; no row for an invalid index.
    void selectQuietly(const QModelIndex &index);
    [[nodiscard]] QModelIndex selected() const;
    /// As if the person had clicked there.
    void choose(const QModelIndex &index);

Q_SIGNALS:
    /// The person chose this row, be it the selected one again.
    void chosen(const QModelIndex &index);

protected:
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    [[nodiscard]] QModelIndex moveCursor(CursorAction action,
                                         Qt::KeyboardModifiers modifiers) override;
    [[nodiscard]] QItemSelectionModel::SelectionFlags
    selectionCommand(const QModelIndex &index, const QEvent *event) const override;

private:
    void tellScreenReader(QAccessible::Event event, const QModelIndex &index);
    [[nodiscard]] QModelIndex edgeRow(int from, int step) const;

    bool m_quiet = false;
    bool m_pressed = false; ///< a mouse button; nothing is chosen until it is let go
    bool m_again = false;   ///< pressed on the selected row
    int m_rowBefore = -1;
};
