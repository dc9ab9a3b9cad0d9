#include "bench/BenchPen.h"
#include "bench/BenchProgram.h"
#include "bench/Child.h"
#include "bench/Figures.h"

#include "app/ViewController.h"
#include "library/CategoryControllers.h"
#include "library/ColoredTableView.h"
#include "library/ListController.h"
#include "library/TileView.h"

using namespace Qt::StringLiterals;

namespace {

constexpr int someTitles = 1000;
constexpr int manyTitles = 10'000;
// How long a page waits for its covers, in milliseconds: all of some titles' covers are decoded,
// and of many titles' more than are kept.
constexpr double patience = 1000;
constexpr double haste = 8;

double memoryWith(int titles, double dwell)
{
    const BenchPen &pen = sharedPen(titles);
    return runChild(u"memory"_s, {pen.volumes(), pen.configuration(), QString::number(dwell)})
        .value(u"peak"_s);
}

void scrollThrough(BenchProgram &program, QAbstractItemView &view, double dwell)
{
    while (program.showNextPage(view) >= 0)
        program.waitFor([&] { return program.hasCoversIn(view); }, dwell);
}

} // namespace

bool memoryFigures()
{
    const double empty = memoryWith(0, haste);
    bool held = report(u"memory over the program without titles, 1,000 titles scrolled through"_s,
                       memoryWith(someTitles, patience) - empty, 96, u"MiB"_s);
    held = report(u"memory over the program without titles, 10,000 titles scrolled through"_s,
                  memoryWith(manyTitles, haste) - empty, 96, u"MiB"_s)
           && held;
    return held;
}

int memoryChild(int argc, char **argv)
{
    BenchProgram program(argc, argv, childArgumentAt(argv, 0), childArgumentAt(argv, 1));
    const double dwell = childArgumentAt(argv, 2).toDouble();
    program.start();
    program.endRun();
    ViewController &main = *program.viewController();
    scrollThrough(program, *main.myBooksController->collectionView, dwell);
    main.setViewMode(ViewMode::list);
    scrollThrough(program, *main.myBooksController->tableViewController->tableView, dwell);
    tell(u"peak"_s, peakMemory());
    return 0;
}
