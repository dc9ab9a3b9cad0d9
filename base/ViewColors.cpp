#include "base/ViewColors.h"

#include "base/ColorConstants.h"

#include <QPainter>
#include <QWidget>

void setColor(QWidget &view, QPalette::ColorRole role, const QColor &color)
{
    QPalette palette = view.palette();
    palette.setColor(role, color);
    view.setPalette(palette);
}

void setBackgroundColor(QWidget &view, const QColor &color)
{
    setColor(view, QPalette::Window, color);
    view.setAutoFillBackground(true);
}

void paintFocusFrame(QPainter &painter, const QRect &frame)
{
    constexpr int radius = 5;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ColorConstants::textColor(), 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(frame, radius, radius);
}
