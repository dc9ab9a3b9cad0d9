#include "bench/BenchPen.h"
#include "bench/BenchProgram.h"
#include "bench/BenchServer.h"
#include "bench/Child.h"
#include "bench/Figures.h"
#include "bench/Heartbeat.h"

#include "app/ViewController.h"
#include "download/DownloadWindow.h"
#include "library/CategoryControllers.h"
#include "library/DownloadQueue.h"
#include "library/TileView.h"
#include "platform/FolderVolumes.h"
#include "platform/Workspace.h"
#include "sync/UpdateService.h"

#include <QPushButton>

#include <algorithm>

using namespace Qt::StringLiterals;

// The program as a whole: its start, an update run, and a pen that is plugged in.

namespace {

constexpr int startTitles = 1000;
constexpr int startRounds = 7;

constexpr int runTitles = 200;
constexpr int runOutdated = 50;
constexpr qsizetype runContent = 256 * 1024;
constexpr int runRounds = 3;

constexpr int mounts = 5;

bool startFigures()
{
    const BenchPen &pen = sharedPen(startTitles);
    QList<double> painted;
    QList<double> covers;
    for (int i = 0; i <= startRounds; ++i) {
        const double spawned = now();
        const auto told = runChild(u"start"_s, {pen.volumes(), pen.configuration()});
        if (i == 0)
            continue; // not warm
        painted += told.value(u"painted"_s) - spawned;
        covers += told.value(u"covers"_s) - spawned;
    }
    const bool held = report(u"start to the first painted main window, 1,000 titles"_s,
                             median(painted), 200, u"ms"_s);
    note(u"start to the first screen of covers"_s, median(covers), u"ms"_s);
    return held;
}

bool runFigures()
{
    return report(u"longest busy stretch of the main thread in an update run, 50 of 200 titles "
                  "loaded, all scans included"_s,
                  runChildren(runRounds, u"run"_s, {}).value(u"stretch"_s), 50, u"ms"_s);
}

/// From the pen's appearing in the folder to the news of it.
double mountTime(BenchPen &pen, Workspace &workspace)
{
    double told = 0;
    const auto mounted = QObject::connect(&workspace, &Workspace::didMount,
                                          [&told](const QVariantMap &) { told = now(); });
    const double before = now();
    pen.plugIn();
    while (told <= 0)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QObject::disconnect(mounted);
    return told - before;
}

void pullOut(BenchPen &pen, Workspace &workspace)
{
    bool gone = false;
    const auto unmounted = QObject::connect(&workspace, &Workspace::didUnmount,
                                            [&gone](const QVariantMap &) { gone = true; });
    pen.pullOut();
    while (!gone)
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QObject::disconnect(unmounted);
}

bool mountFigures()
{
    BenchPen pen(0);
    pen.pullOut();
    FolderVolumes volumes(pen.volumes());
    Workspace workspace(volumes);
    double longest = 0;
    for (int i = 0; i < mounts; ++i) {
        longest = std::max(longest, mountTime(pen, workspace));
        pullOut(pen, workspace);
    }
    return report(u"a mounted pen is noticed, the slowest of 5"_s, longest, 300, u"ms"_s);
}

} // namespace

bool programFigures()
{
    bool held = startFigures();
    held = runFigures() && held;
    held = mountFigures() && held;
    return held;
}

int startChild(int argc, char **argv)
{
    BenchProgram program(argc, argv, childArgumentAt(argv, 0), childArgumentAt(argv, 1));
    tell(u"painted"_s, program.start());
    const auto &books = program.viewController()->myBooksController;
    program.waitFor([&books] { return !books.isNull(); });
    tell(u"covers"_s, program.waitForCovers(*books->collectionView));
    return 0;
}

int updateRunChild(int argc, char **argv)
{
    const BenchPen pen(runTitles);
    BenchServer server(runTitles, runOutdated, runContent);
    BenchProgram program(argc, argv, pen.volumes(), server.configuration());
    program.start();
    program.endRun();
    server.publish();
    const Heartbeat heartbeat;
    program.viewController()->updateService->updateAll();
    program.endRun();
    if (updateElements().size() != runOutdated)
        qFatal("the run loaded %lld titles", static_cast<long long>(updateElements().size()));
    DownloadWindow &window = *program.viewController()->downloadWindow();
    if (!window.isVisible() || !window.OKBtn->isEnabled())
        qFatal("the run did not end well");
    window.OKBtn->click();
    program.waitFor(300); // what follows from the end
    tell(u"stretch"_s, heartbeat.longestWait());
    return 0;
}
