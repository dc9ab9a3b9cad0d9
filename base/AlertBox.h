#pragma once

#include <QStringList>

#include <functional>

class QWidget;

/// A question or a notice that nothing else in the program takes input beside.
struct Alert
{
    QString windowTitle;
    QString messageText;
    QString informativeText;
    QStringList buttons; ///< texts; the first confirms, the last is what Escape means
};

/// Shows alerts. Main thread only.
class AlertBox
{
public:
    using Answer = std::function<void(bool confirmed)>;
    using Presenter = std::function<void(const Alert &alert, QWidget &parent, Answer completion)>;

    /// What shows an alert in place of a message box; an empty one brings the box back. A test
    /// answers through it.
    static void setPresenter(Presenter presenter);

    /// Returns at once. `make` gives the alert in the current language; an open box asks it anew
    /// when the language changes, for the same number of buttons. `completion`, which may be empty,
    /// gets the answer; it is not called when `parent` goes first.
    static void present(const std::function<Alert()> &make, QWidget &parent, Answer completion);
};
