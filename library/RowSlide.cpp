#include "library/RowSlide.h"

#include <QPainter>
#include <QSet>
#include <QTableView>

namespace {

constexpr int duration = 180;

} // namespace

RowSlide::RowSlide(QTableView &table, const QList<int> &removedRows)
    : QWidget(table.viewport())
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    const QRect seen = table.viewport()->visibleRegion().boundingRect();
    m_before = table.viewport()->grab(seen);
    addStrips(table, removedRows, seen);
    setGeometry(seen);
    show();
    m_animation.setStartValue(0.0);
    m_animation.setEndValue(1.0);
    m_animation.setDuration(duration);
    m_animation.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_animation, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&m_animation, &QVariantAnimation::finished, this, &QObject::deleteLater);
    m_animation.start();
}

void RowSlide::addStrips(QTableView &table, const QList<int> &removedRows, const QRect &seen)
{
    const QSet<int> removed(removedRows.begin(), removedRows.end());
    const int first = table.rowAt(seen.top());
    int rise = 0;
    for (int row = first; row >= 0 && row < table.model()->rowCount(); ++row) {
        const int top = table.rowViewportPosition(row) - seen.top();
        if (top > seen.height())
            break;
        if (removed.contains(row))
            rise += table.rowHeight(row);
        else
            m_strips.append({QRect(0, top, seen.width(), table.rowHeight(row)), rise});
    }
}

void RowSlide::paintEvent(QPaintEvent *)
{
    const qreal done = m_animation.currentValue().toReal();
    const qreal ratio = m_before.devicePixelRatio();
    QPainter painter(this);
    painter.fillRect(rect(), Qt::white);
    for (const Strip &strip : m_strips) {
        const QRectF target = QRectF(strip.source).translated(0, -strip.rise * done);
        const QRectF source(QPointF(strip.source.topLeft()) * ratio,
                            QSizeF(strip.source.size()) * ratio);
        painter.drawPixmap(target, m_before, source);
    }
}
