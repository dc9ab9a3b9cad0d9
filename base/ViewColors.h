#pragma once

#include <QPalette>

class QPainter;
class QRect;
class QWidget;

/// Gives a view a colour of its own, whatever the desktop's scheme.
void setColor(QWidget &view, QPalette::ColorRole role, const QColor &color);
/// Behind all that stands in the view.
void setBackgroundColor(QWidget &view, const QColor &color);

/// Marks where the keyboard is; can be read on every background of the program.
void paintFocusFrame(QPainter &painter, const QRect &frame);
