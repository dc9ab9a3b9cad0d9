#pragma once

#include <QColor>
#include <QMargins>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTableView>

/// How one row of a list is painted, behind its cells.
class ColoredTableRowView
{
public:
    static constexpr int selectionInset = 4;
    static constexpr int selectionRadius = 4;
    static constexpr QMargins focusInset{2, 2, 2, 2}; ///< around the selection, clear of it
    static constexpr int textMargin = 8;              ///< left and right of a cell's text

    bool alternates = false;
    QColor selectionColor{196, 216, 155};

    void drawSelection(QPainter &painter, const QRect &row) const;
    void drawFocus(QPainter &painter, const QRect &row) const;
};

/// A list whose odd rows stand on a colour of their own. It may be as tall as all its rows: only
/// what is seen is painted.
class ColoredTableView : public QTableView
{
    Q_OBJECT

public:
    explicit ColoredTableView(QWidget *parent = nullptr);

    /// The background of a row: white for even ones.
    [[nodiscard]] QColor rowColor(int row) const;
    [[nodiscard]] QRect rowRect(int row) const;

    /// Shows the rows below the given ones sliding up into their places; they are removed right
    /// after this call. Nothing waits for it.
    void slideUp(const QList<int> &removedRows);
    [[nodiscard]] QWidget *slide() const { return m_slide; }

    void scrollTo(const QModelIndex &index, ScrollHint hint = EnsureVisible) override;
    void keyboardSearch(const QString &search) override;

    static constexpr int titleColumn = 1; ///< of all lists: behind the picture

    QColor alternatingRowColor{170, 181, 200};

Q_SIGNALS:
    /// The row shall be seen; for what scrolls a list that is as tall as its rows.
    void rowWanted(int row);

protected:
    void currentChanged(const QModelIndex &current, const QModelIndex &previous) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    [[nodiscard]] int pageStep(bool up) const;
    void updateRow(int row);

    QPointer<QWidget> m_slide;
};

/// Paints a list's cells on the row's background and selection.
class ColoredTableDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit ColoredTableDelegate(ColoredTableView &table);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const final;

protected:
    virtual void paintContent(QPainter &painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const;

private:
    void paintRow(QPainter &painter, const QStyleOptionViewItem &option,
                  const QModelIndex &index) const;

    ColoredTableView &m_table;
};
