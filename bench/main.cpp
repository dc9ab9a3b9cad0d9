#include "bench/Child.h"
#include "bench/Figures.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

struct Group
{
    const char *name;
    bool (*figures)();
};
constexpr Group groups[] = {{"transfer", transferFigures}, {"library", libraryFigures},
                            {"music", musicFigures},       {"program", programFigures},
                            {"windows", windowFigures},    {"videos", videoFigures},
                            {"memory", memoryFigures}};

struct Child
{
    const char *name;
    int (*run)(int argc, char **argv);
};
constexpr Child children[] = {
    {"start", startChild}, {"run", updateRunChild}, {"covers", coversChild}, {"views", viewsChild},
    {"music", musicChild}, {"videos", videosChild}, {"memory", memoryChild}};

int runAsChild(int argc, char **argv)
{
    const QByteArray name = argv[2];
    const auto *child = std::find_if(std::begin(children), std::end(children),
                                     [&name](const Child &known) { return name == known.name; });
    if (child == std::end(children))
        return 2;
    openResults();
    return child->run(argc, argv);
}

/// Without it the plug-in's screen is too small for the main window.
QByteArray offscreen(const QString &folder)
{
    const QString path = folder + u"/screens.json"_s;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)
        || file.write(R"({"screens": [{"name": "screen", "x": 0, "y": 0, "width": 1920,
            "height": 1080, "logicalDpi": 96, "logicalBaseDpi": 96, "dpr": 1}]})")
               < 0) {
        return "offscreen";
    }
    return "offscreen:configfile=" + QFile::encodeName(path);
}

bool isWanted(const Group &group, const QStringList &wanted)
{
    return wanted.isEmpty() || wanted.contains(QString::fromLatin1(group.name));
}

QString groupNames()
{
    QStringList names;
    for (const Group &group : groups)
        names += QString::fromLatin1(group.name);
    return names.join(u' ');
}

} // namespace

// Prints every figure with its limit; ends with 1 when one does not hold, with 2 for an unknown
// group. Without arguments all groups run. Ratios are of one run, so they hold on slow and busy
// machines alike; plain times want a quiet one.
int main(int argc, char **argv)
{
    std::signal(SIGPIPE, SIG_IGN);
    if (argc > 2 && QByteArray(argv[1]) == childArgument)
        return runAsChild(argc, argv);
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("no_proxy", "127.0.0.1"); // where the servers are
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", offscreen(home.path()));
    // The program's own lines would drown the figures.
    if (!std::freopen("/dev/null", "w", stdout))
        return 1;
    const QApplication application(argc, argv);
    const QStringList wanted = QCoreApplication::arguments().mid(1);
    bool held = true;
    int ran = 0;
    for (const Group &group : groups) {
        if (!isWanted(group, wanted))
            continue;
        ++ran;
        held = group.figures() && held;
    }
    if (ran < std::max<qsizetype>(1, wanted.size())) {
        std::fprintf(stderr, "groups: %s\n", qPrintable(groupNames()));
        return 2;
    }
    return held ? 0 : 1;
}
