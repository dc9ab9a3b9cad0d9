#pragma once

#include <QWidget>

/// Shows that the keyboard is in a view that does not show it itself. The view owns it.
class FocusMark : public QWidget
{
    Q_OBJECT

public:
    explicit FocusMark(QWidget &view);

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
