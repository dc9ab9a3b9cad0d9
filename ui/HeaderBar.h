#pragma once

#include <QWidget>

class HeaderController;

/// The strip at the top of the main window. Where it is too narrow for all, its parts give way: the
/// title first, then the flags, whose languages are in the menu as well; the search shrinks last.
/// Main thread only.
class HeaderBar : public QWidget
{
    Q_OBJECT

public:
    using QWidget::QWidget;

    /// What gives way. `flags` is a child of this bar, `header` stands in one.
    void setParts(const HeaderController &header, QWidget &flags);

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void giveWay();
    [[nodiscard]] int roomForOthers() const;

    const HeaderController *m_header = nullptr;
    QWidget *m_flags = nullptr;
};
