#pragma once

#include <QList>
#include <QPixmap>
#include <QVariantAnimation>
#include <QWidget>

class QTableView;

/// Lies over a list whose rows are about to be removed, shows the rows that stay moving up to their
/// new places, and goes. Takes no input.
class RowSlide : public QWidget
{
    Q_OBJECT

public:
    RowSlide(QTableView &table, const QList<int> &removedRows);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    struct Strip
    {
        QRect source; ///< in the picture taken before
        int rise = 0; ///< how far up it goes
    };

    void addStrips(QTableView &table, const QList<int> &removedRows, const QRect &seen);

    QPixmap m_before;
    QList<Strip> m_strips;
    QVariantAnimation m_animation;
};
