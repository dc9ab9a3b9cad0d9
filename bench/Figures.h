#pragma once

#include <QList>
#include <QString>

#include <functional>

/// One line of the result: ours against the yardstick, as medians of interleaved runs.
struct Figure
{
    QString name;
    double ours;      ///< milliseconds
    double yardstick; ///< milliseconds
    double atMost;    ///< the ratio that must hold
};

/// Runs both in turn `rounds` times after one warm-up and takes the medians; `before` goes before
/// each run of ours, unmeasured.
[[nodiscard]] Figure measure(
    const QString &name, double atMost, int rounds, const std::function<void()> &ours,
    const std::function<void()> &yardstick, const std::function<void()> &before = [] {});

/// Prints the figure; false when its ratio is too high.
bool report(const Figure &figure);
/// Prints a plain value; false when it is above its limit.
bool report(const QString &name, double value, double atMost, const QString &unit);

/// Prints a value without a limit.
void note(const QString &name, double value, const QString &unit);

[[nodiscard]] double median(QList<double> values);

/// The most memory this process has used so far, in MiB.
[[nodiscard]] double peakMemory();

// The groups of figures; each returns whether all of its figures held.
bool libraryFigures();
bool musicFigures();
bool transferFigures();
bool programFigures();
bool windowFigures();
bool videoFigures();
bool memoryFigures();
