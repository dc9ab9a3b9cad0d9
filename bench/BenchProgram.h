#pragma once

#include "app/QuilloApplication.h"

#include <QPointer>
#include <QSet>
#include <QWidget>

#include <functional>

class QAbstractItemView;

/// The program itself, on the pen in a folder, without its splash window's waiting. It tells when
/// something has been painted, in milliseconds of now().
class BenchProgram : public QuilloApplication
{
    Q_OBJECT

public:
    BenchProgram(int &argc, char **argv, const QString &volumes, const QString &configuration);

    /// Starts and returns when the main window has been painted for the first time.
    double start();
    /// Lets the program go on until its update run has ended.
    void endRun();

    /// When the widget has been painted next.
    double waitForPaint(QWidget &widget);
    /// Lets the program go on until the condition holds or the time is over; endless without time.
    void waitFor(const std::function<bool()> &condition, double milliseconds = 0);
    void waitFor(double milliseconds);

    /// Forgets the covers; those that come from now on are counted.
    void clearCovers();
    [[nodiscard]] bool hasCoversIn(const QAbstractItemView &view) const;
    /// When all covers that the view shows have been painted.
    double waitForCovers(QAbstractItemView &view);

    /// Scrolls to the next page and returns how long it took until it stood there; a negative value
    /// at the end.
    double showNextPage(QAbstractItemView &view);

    bool notify(QObject *receiver, QEvent *event) override;

private:
    [[nodiscard]] bool isAwaited(const QObject &painted) const;

    QPointer<QWidget> m_watched; ///< absent for the main window
    bool m_painting = false;
    int m_depth = 0;
    double m_paintedAt = 0; ///< 0 when not yet
    QSet<QString> m_covers;
};
