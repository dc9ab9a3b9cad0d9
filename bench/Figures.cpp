#include "bench/Figures.h"

#include <QElapsedTimer>
#include <QFile>
#include <QList>

#include <algorithm>
#include <cstdio>

namespace {

double milliseconds(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// On standard error: standard output belongs to the program's own lines.
bool show(const QString &line, bool held)
{
    std::fprintf(stderr, "%s %s\n", held ? "  ok  " : " OVER ", qPrintable(line));
    return held;
}

} // namespace

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

Figure measure(const QString &name, double atMost, int rounds, const std::function<void()> &ours,
               const std::function<void()> &yardstick, const std::function<void()> &before)
{
    before();
    ours();
    yardstick();
    QList<double> mine;
    QList<double> theirs;
    for (int i = 0; i < rounds; ++i) {
        before();
        mine += milliseconds(ours);
        theirs += milliseconds(yardstick);
    }
    return {name, median(mine), median(theirs), atMost};
}

bool report(const Figure &figure)
{
    const double ratio = figure.ours / figure.yardstick;
    return show(QStringLiteral("%1: %2 ms to %3 ms, ratio %4 (at most %5)")
                    .arg(figure.name)
                    .arg(figure.ours, 0, 'f', 1)
                    .arg(figure.yardstick, 0, 'f', 1)
                    .arg(ratio, 0, 'f', 2)
                    .arg(figure.atMost),
                ratio <= figure.atMost);
}

bool report(const QString &name, double value, double atMost, const QString &unit)
{
    return show(QStringLiteral("%1: %2 %4 (at most %3 %4)")
                    .arg(name)
                    .arg(value, 0, 'f', 1)
                    .arg(atMost)
                    .arg(unit),
                value <= atMost);
}

void note(const QString &name, double value, const QString &unit)
{
    std::fprintf(stderr, "      %s\n",
                 qPrintable(QStringLiteral("%1: %2 %3").arg(name).arg(value, 0, 'f', 1).arg(unit)));
}

double peakMemory()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = status.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith("VmHWM:"))
            return line.mid(6).simplified().split(' ').first().toDouble() / 1024;
    }
    return 0;
}
