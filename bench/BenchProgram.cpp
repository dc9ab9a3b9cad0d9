#include "bench/BenchProgram.h"

#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "app/ViewController.h"
#include "bench/Child.h"
#include "library/LibraryLists.h"
#include "platform/Bundle.h"
#include "platform/FolderVolumes.h"
#include "platform/SimulatedCentral.h"
#include "sync/UpdateService.h"

#include <QAbstractItemView>
#include <QEvent>
#include <QScrollBar>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {

constexpr auto tick = 5ms; // how late waitFor() may notice what no event tells

} // namespace

BenchProgram::BenchProgram(int &argc, char **argv, const QString &volumes,
                           const QString &configuration)
    : QuilloApplication(
        argc, argv,
        [&] {
            Bundle::setConfigurationFile(configuration);
            return std::make_unique<FolderVolumes>(volumes);
        },
        [] { return std::make_unique<SimulatedCentral>(); })
{
    delegateReference->flowConroller.splashDuration = 0ms;
}

double BenchProgram::start()
{
    delegateReference->applicationDidFinishLaunching();
    waitFor([this] { return m_paintedAt > 0; });
    connect(&viewController()->coverCache(), &CoverCache::ready, this,
            [this](const QString &path) { m_covers += path; });
    return m_paintedAt;
}

void BenchProgram::endRun()
{
    bool ended = false;
    const auto ending = connect(viewController()->updateService.get(), &UpdateService::runEnded,
                                this, [&ended] { ended = true; });
    waitFor([&ended] { return ended; });
    disconnect(ending);
}

double BenchProgram::waitForPaint(QWidget &widget)
{
    m_watched = &widget;
    m_paintedAt = 0;
    waitFor([this] { return m_paintedAt > 0; });
    return m_paintedAt;
}

void BenchProgram::waitFor(const std::function<bool()> &condition, double milliseconds)
{
    const double end = now() + milliseconds;
    QTimer timer;
    timer.setTimerType(Qt::PreciseTimer);
    timer.start(tick);
    while (!condition() && (milliseconds <= 0 || now() < end)) {
        processEvents(QEventLoop::WaitForMoreEvents);
        sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

void BenchProgram::waitFor(double milliseconds)
{
    waitFor([] { return false; }, milliseconds);
}

void BenchProgram::clearCovers()
{
    viewController()->coverCache().clear();
    m_covers.clear();
}

bool BenchProgram::hasCoversIn(const QAbstractItemView &view) const
{
    const QRect seen = view.viewport()->rect();
    const auto *model = view.model();
    const int first = std::max(0, view.indexAt({seen.center().x() / 4, 1}).row());
    for (int row = first; row < model->rowCount(); ++row) {
        if (view.visualRect(model->index(row, 0)).top() > seen.bottom())
            break;
        if (!m_covers.contains(bookList().at(row)->image->path))
            return false;
    }
    return true;
}

double BenchProgram::waitForCovers(QAbstractItemView &view)
{
    waitFor([this, &view] { return hasCoversIn(view); });
    view.viewport()->update(); // in case that they have been painted already
    return waitForPaint(*view.viewport());
}

double BenchProgram::showNextPage(QAbstractItemView &view)
{
    QScrollBar &bar = *view.verticalScrollBar();
    if (bar.value() >= bar.maximum())
        return -1;
    const double before = now();
    bar.setValue(bar.value() + bar.pageStep());
    return waitForPaint(*view.viewport()) - before;
}

bool BenchProgram::isAwaited(const QObject &painted) const
{
    if (m_watched)
        return &painted == m_watched;
    return painted.isWidgetType()
           && qobject_cast<MainWindow *>(static_cast<const QWidget &>(painted).window()) != nullptr;
}

bool BenchProgram::notify(QObject *receiver, QEvent *event)
{
    ++m_depth;
    if (event->type() == QEvent::Paint && isAwaited(*receiver))
        m_painting = true;
    const bool handled = QuilloApplication::notify(receiver, event);
    // What is painted is seen once the event is done that caused it.
    if (--m_depth == 0 && std::exchange(m_painting, false))
        m_paintedAt = now();
    return handled;
}
