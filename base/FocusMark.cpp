#include "base/FocusMark.h"

#include "base/ViewColors.h"

#include <QEvent>
#include <QPainter>

FocusMark::FocusMark(QWidget &view)
    : QWidget(&view)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setVisible(view.hasFocus());
    view.installEventFilter(this);
}

bool FocusMark::eventFilter(QObject *watched, QEvent *event)
{
    const auto type = event->type();
    if (type == QEvent::Resize || type == QEvent::FocusIn || type == QEvent::FocusOut) {
        setGeometry(parentWidget()->rect());
        setVisible(parentWidget()->hasFocus());
        raise();
    }
    return QWidget::eventFilter(watched, event);
}

void FocusMark::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintFocusFrame(painter, rect().adjusted(2, 2, -2, -2));
}
