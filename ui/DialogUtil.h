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

/// The program's alerts. Each returns at once and completes when the person has answered. Main
/// thread only.
class DialogUtil
{
public:
    using Answer = std::function<void(bool confirmed)>;
    using Presenter = std::function<void(const Alert &alert, QWidget &parent, Answer completion)>;

    /// What shows an alert in place of a message box; an empty one brings the box back. A test
    /// answers through it.
    static void setPresenter(Presenter presenter);

    /// Asks whether the titles with these ids shall be deleted; `completion` is not called when
    /// `parent` goes first.
    static void confirmDeletion(const QStringList &ids, QWidget &parent, Answer completion);

    /// Tells that titles are still on the pen.
    static void tellDeletionFailed(const QStringList &names, QWidget &parent);

    /// The names of the titles with these ids, in the library's order.
    [[nodiscard]] static QStringList titleNames(const QStringList &ids);
};
