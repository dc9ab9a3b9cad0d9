#include "bench/Child.h"

#include "bench/Figures.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int patience = 120'000;

int results = -1;

/// The offscreen plug-in and the sound system tell what they lack.
void dropWarnings(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

QHash<QString, double> parse(const QByteArray &output)
{
    QHash<QString, double> told;
    for (const QByteArray &line : output.split('\n')) {
        const qsizetype value = line.lastIndexOf(' ');
        if (value > 0)
            told.insert(QString::fromUtf8(line.first(value)), line.mid(value + 1).toDouble());
    }
    return told;
}

} // namespace

QHash<QString, double> runChild(const QString &name, const QStringList &arguments)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    child.start(QCoreApplication::applicationFilePath(),
                QStringList{QString::fromLatin1(childArgument), name} + arguments);
    if (!child.waitForFinished(patience) || child.exitStatus() != QProcess::NormalExit
        || child.exitCode() != 0) {
        child.kill();
        qFatal("the child %s failed", qPrintable(name));
    }
    return parse(child.readAllStandardOutput());
}

QHash<QString, double> runChildren(int rounds, const QString &name, const QStringList &arguments)
{
    QHash<QString, QList<double>> all;
    for (int i = 0; i < rounds; ++i) {
        const QHash<QString, double> told = runChild(name, arguments);
        for (auto value = told.cbegin(); value != told.cend(); ++value)
            all[value.key()] += value.value();
    }
    QHash<QString, double> medians;
    for (auto values = all.cbegin(); values != all.cend(); ++values)
        medians.insert(values.key(), median(values.value()));
    return medians;
}

QString childArgumentAt(char **argv, int index)
{
    constexpr int before = 3; // the program, childArgument and the child's name
    return QString::fromLocal8Bit(argv[before + index]);
}

void openResults()
{
    results = ::dup(STDOUT_FILENO);
    if (results < 0 || !std::freopen("/dev/null", "w", stdout))
        qFatal("no way back to the parent");
    qInstallMessageHandler(dropWarnings);
}

void tell(const QString &name, double value)
{
    const QByteArray line = name.toUtf8() + ' ' + QByteArray::number(value, 'f', 3) + '\n';
    if (::write(results, line.constData(), static_cast<size_t>(line.size())) != line.size())
        qFatal("the parent does not listen");
}

double now()
{
    const auto time = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(time).count();
}
