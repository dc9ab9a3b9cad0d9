#pragma once

#include <QStyledItemDelegate>

/// How a category's row of the sidebar is painted.
class NavCollectionItem
{
public:
    static constexpr int height = 48;
    static constexpr qreal selectedOpacity = 0.7;

    static void paint(QPainter &painter, const QStyleOptionViewItem &option);
};

/// How a divider of the sidebar is painted.
class DividerCollectionViewItem
{
public:
    static constexpr int height = 12;
    static constexpr int inset = 20;

    [[nodiscard]] static QColor lineColor();
    static void paint(QPainter &painter, const QRect &cell);
};

/// Paints the sidebar's rows, each as the kind it is.
class NavRowDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override;
};
