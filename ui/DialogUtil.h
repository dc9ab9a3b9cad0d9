#pragma once

#include <QStringList>

#include <functional>

class QWidget;

/// The program's alerts. Each returns at once and completes when the person has answered. Main
/// thread only.
class DialogUtil
{
public:
    using Answer = std::function<void(bool confirmed)>;

    /// Asks whether the titles with these ids shall be deleted; `completion` is not called when
    /// `parent` goes first.
    static void confirmDeletion(const QStringList &ids, QWidget &parent, Answer completion);

    /// Tells that titles are still on the pen.
    static void tellDeletionFailed(const QStringList &names, QWidget &parent);
};
