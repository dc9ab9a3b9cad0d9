#pragma once

#include <QWidget>

/// The strip at the top of the main window. Where it is too narrow for all, its parts give way: the
/// title first, then the flags, whose languages are in the menu as well; the search shrinks last.
class HeaderBar : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;
};
