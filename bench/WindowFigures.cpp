#include "bench/BenchPen.h"
#include "bench/BenchProgram.h"
#include "bench/Child.h"
#include "bench/Figures.h"

#include "app/NavigationViewController.h"
#include "app/ViewController.h"
#include "library/CategoryControllers.h"
#include "library/ColoredTableView.h"
#include "library/LibraryLists.h"
#include "library/ListController.h"
#include "library/MyQuilloTitlesController.h"
#include "library/SearchViewController.h"
#include "library/TileView.h"

#include <QLineEdit>
#include <QScrollBar>

#include <algorithm>
#include <ctime>
#include <functional>

using namespace Qt::StringLiterals;

// What a category of titles costs in the main window.

namespace {

constexpr int manyTitles = 10'000;
constexpr int someTitles = 1000;
constexpr int openings = 5;
constexpr int scrollings = 3;
constexpr double settling = 100; // milliseconds

const QString &formName(ViewMode mode)
{
    static const QString tiles = u"tiles"_s;
    static const QString table = u"table"_s;
    return mode == ViewMode::tiled ? tiles : table;
}

QAbstractItemView &shownView(const BenchProgram &program, ViewMode mode)
{
    const MyBooksController &books = *program.viewController()->myBooksController;
    if (mode == ViewMode::tiled)
        return *books.collectionView;
    return *books.tableViewController->tableView;
}

/// Opens the books from another category, no cover known; tells when that began.
double open(BenchProgram &program, ViewMode mode)
{
    ViewController &main = *program.viewController();
    main.setViewMode(mode);
    main.showView(NavElementType::Shop);
    program.waitFor(settling);
    program.clearCovers();
    const double begun = now();
    main.showView(NavElementType::Books);
    return begun;
}

double firstPaint(BenchProgram &program, ViewMode mode)
{
    const double begun = open(program, mode);
    return program.waitForPaint(*shownView(program, mode).viewport()) - begun;
}

double firstCovers(BenchProgram &program, ViewMode mode)
{
    const double begun = open(program, mode);
    return program.waitForCovers(shownView(program, mode)) - begun;
}

/// Milliseconds of processor time that the main thread has had.
double processorTime()
{
    timespec time = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// What the pages of a view cost from the top to the end, in milliseconds.
struct Scrolling
{
    QList<double> frames;
    double work = 0; ///< the most that the main thread itself did for one
};

/// A page as soon as the one before is painted, no cover known.
Scrolling scrollThrough(BenchProgram &program, QAbstractItemView &view)
{
    view.verticalScrollBar()->setValue(0);
    program.waitForPaint(*view.viewport());
    program.clearCovers();
    Scrolling scrolling;
    for (;;) {
        const double before = processorTime();
        const double frame = program.showNextPage(view);
        if (frame < 0)
            return scrolling;
        scrolling.frames += frame;
        scrolling.work = std::max(scrolling.work, processorTime() - before);
    }
}

double medianOf(int rounds, const std::function<double()> &value)
{
    QList<double> values;
    for (int i = 0; i < rounds; ++i)
        values += value();
    return median(values);
}

/// Each page counts with the median of its frames: what a busy machine does to single ones hits
/// another page every time.
double slowestPage(const QList<Scrolling> &rounds)
{
    double slowest = 0;
    for (qsizetype page = 0; page < rounds.first().frames.size(); ++page) {
        QList<double> frames;
        for (const Scrolling &round : rounds)
            frames += round.frames.value(page);
        slowest = std::max(slowest, median(frames));
    }
    return slowest;
}

void tellScrolling(BenchProgram &program, ViewMode form)
{
    QList<Scrolling> rounds;
    double slowest = 0;
    double work = 0;
    for (int i = 0; i < scrollings; ++i) {
        rounds += scrollThrough(program, shownView(program, form));
        const QList<double> &frames = rounds.last().frames;
        slowest = std::max(slowest, *std::max_element(frames.begin(), frames.end()));
        work = std::max(work, rounds.last().work);
    }
    tell(formName(form) + u" page"_s, slowestPage(rounds));
    tell(formName(form) + u" frame"_s, slowest);
    tell(formName(form) + u" work"_s, work);
}

/// From a letter typed, each one more of a title's name, to the page of what is found.
double searchAsTyped(BenchProgram &program)
{
    const ViewController &main = *program.viewController();
    const QString name = bookList().constFirst()->name;
    QList<double> values;
    for (qsizetype letters = 1; letters <= name.size(); ++letters) {
        main.searchViewController->searchField->setText(name.left(letters));
        const double begun = now();
        main.searchViewController->searchFieldAction();
        auto *page = main.navigationViewController->activeContent<MyQuilloTitlesController>();
        values +=
            program.waitForPaint(*page->myQuilloBooksController->tableView->viewport()) - begun;
    }
    return *std::max_element(values.begin(), values.end());
}

constexpr ViewMode forms[] = {ViewMode::tiled, ViewMode::list};

} // namespace

bool windowFigures()
{
    const BenchPen &few = sharedPen(someTitles);
    const BenchPen &many = sharedPen(manyTitles);
    const auto covers = runChild(u"covers"_s, {few.volumes(), few.configuration()});
    const auto views = runChild(u"views"_s, {many.volumes(), many.configuration()});
    bool held = true;
    for (const ViewMode form : forms) {
        const QString name = formName(form);
        held = report(u"1,000 titles as %1, first screen of covers"_s.arg(name), covers.value(name),
                      150, u"ms"_s)
               && held;
        held = report(u"10,000 titles as %1, first paint"_s.arg(name),
                      views.value(name + u" paint"_s), 50, u"ms"_s)
               && held;
        held = report(u"10,000 titles as %1, slowest page of scrolling through all"_s.arg(name),
                      views.value(name + u" page"_s), 16, u"ms"_s)
               && held;
        note(u"the slowest single frame of all rounds"_s, views.value(name + u" frame"_s), u"ms"_s);
        note(u"the main thread's own work for a frame, at most"_s, views.value(name + u" work"_s),
             u"ms"_s);
    }
    return report(
               u"10,000 titles, slowest letter typed in the search to the page of what is found"_s,
               views.value(u"search"_s), 50, u"ms"_s)
           && held;
}

int coversChild(int argc, char **argv)
{
    BenchProgram program(argc, argv, childArgumentAt(argv, 0), childArgumentAt(argv, 1));
    program.start();
    program.endRun();
    for (const ViewMode form : forms)
        tell(formName(form), medianOf(openings, [&] { return firstCovers(program, form); }));
    return 0;
}

int viewsChild(int argc, char **argv)
{
    BenchProgram program(argc, argv, childArgumentAt(argv, 0), childArgumentAt(argv, 1));
    program.start();
    program.endRun();
    for (const ViewMode form : forms) {
        tell(formName(form) + u" paint"_s,
             medianOf(openings, [&] { return firstPaint(program, form); }));
        tellScrolling(program, form);
    }
    tell(u"search"_s, medianOf(openings, [&] { return searchAsTyped(program); }));
    return 0;
}
