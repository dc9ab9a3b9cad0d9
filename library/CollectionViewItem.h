#pragma once

#include "library/CoverImage.h"

#include <QRect>
#include <QString>

class CoverCache;
class QFontMetrics;
class QPainter;
class QStyleOptionViewItem;

/// One tile: a cover with name and ISBN beneath.
class CollectionViewItem
{
public:
    CoverImage bookImage;
    QString nameLabel;
    QString isbnLabel;

    /// An ISBN that says nothing leaves its label as it was.
    void configure(const CoverImage &image, const QString &name, const QString &isbn);

    /// How an ISBN is told; empty for one that says nothing.
    [[nodiscard]] static QString isbnText(const QString &isbn);

    /// The smallest cell that a tile fits into.
    [[nodiscard]] static QSize size(const QFontMetrics &metrics);
    /// `dimmed`: unless it is selected itself.
    void paint(QPainter &painter, const QStyleOptionViewItem &option, CoverCache &covers,
               bool dimmed) const;

private:
    void paintTexts(QPainter &painter, const QStyleOptionViewItem &option, QRect rect) const;
};
