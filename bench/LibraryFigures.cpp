#include "base/ApplicationLog.h"
#include "bench/BenchPen.h"
#include "bench/Figures.h"
#include "library/ElementService.h"
#include "library/KnownFiles.h"
#include "platform/FileManager.h"
#include "platform/FolderVolumes.h"
#include "sync/UpdatePlanner.h"

#include <QDir>

#include <atomic>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int libraryTitles = 1000;
constexpr int plannedTitles = 10'000;

void readHead(const QByteArray &path)
{
    char buffer[4096];
    const int file = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (file < 0 || ::read(file, buffer, sizeof buffer) < 0)
        qFatal("unreadable: %s", path.constData());
    ::close(file);
}

/// What any scan has to read, and nothing else.
void readHeads(const QString &folder)
{
    const QStringList names = QDir(folder).entryList(QDir::Files, QDir::Unsorted);
    for (const QString &name : names)
        readHead(QFile::encodeName(folder + u'/' + name));
}

/// That many outdated titles.
PlanningTask planningTask(int titles)
{
    PlanningTask task{*PenPlaces::look()};
    for (int i = 0; i < titles; ++i) {
        auto local = std::make_shared<BaseElement>();
        local->mid = QString::number(10'000 + i);
        auto remote = std::make_shared<BaseElement>(*local);
        remote->bookVersion = 2;
        remote->isVersionTold = true;
        task.localMedias += local;
        task.remoteMedias += remote;
    }
    return task;
}

/// Other records each time, which are as far from the processor as those of the whole.
PlanningTask tenth(const PlanningTask &whole, int index)
{
    const qsizetype count = whole.localMedias.size() / 10;
    PlanningTask task = whole;
    task.localMedias = whole.localMedias.mid(index * count, count);
    task.remoteMedias = whole.remoteMedias.mid(index * count, count);
    return task;
}

void plan(PlanningTask task)
{
    std::atomic_int rows = 0;
    task.queueRow = [&rows](const UpdateElement &) {
        ++rows;
    };
    const auto titles = static_cast<int>(task.localMedias.size());
    std::make_shared<UpdatePlanner>(std::move(task))->checkLocalMedias();
    if (rows != titles)
        qFatal("%d rows of %d", rows.load(), titles);
}

} // namespace

bool libraryFigures()
{
    const BenchPen pen(libraryTitles, BenchPen::Files::ToScan);
    FolderVolumes volumes(pen.volumes());
    FileManager::setVolumeSource(&volumes);

    const Figure scan = measure(
        u"library scan of 1,000 titles against reading the same heads"_s, 1.9, 7,
        [] {
            if (ElementService::getQuilloFilesInfoFromPen().books.size() != libraryTitles)
                qFatal("the scan lost titles");
        },
        [&pen] { readHeads(pen.path(u"book"_s)); }, [] { knownFiles().forget(); });
    bool held = report(scan);
    held = report(u"library scan of 1,000 titles, warm"_s, scan.ours, 100, u"ms"_s) && held;
    const PlanningTask allTitles = planningTask(plannedTitles);
    // As long as each other, so that a busy machine slows both down alike.
    held = report(measure(
               u"planning 10,000 outdated titles against 10 x 1,000"_s, 1.15, 11,
               [&] { plan(allTitles); },
               [&] {
                   for (int i = 0; i < 10; ++i)
                       plan(tenth(allTitles, i));
               }))
           && held;
    const Figure log = measure(
        u"1,000 log lines against 1,000 reads of a file's head"_s, 2.0, 7,
        [] {
            for (int i = 0; i < 1000; ++i)
                writeLog(u"a line of the usual length, more or less"_s);
        },
        [&pen] {
            const QByteArray path = QFile::encodeName(pen.path(u"book/10000_en.png"_s));
            for (int i = 0; i < 1000; ++i)
                readHead(path);
        });
    held = report(log) && held;
    FileManager::setVolumeSource(nullptr);
    return held;
}
