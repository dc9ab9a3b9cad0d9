#include "app/ApplicationLog.h"
#include "bench/Figures.h"
#include "library/ElementService.h"
#include "platform/FileManager.h"
#include "platform/FolderVolumes.h"
#include "sync/UpdatePlanner.h"
#include "tests/support/PenFolder.h"

#include <QBuffer>
#include <QDir>
#include <QImage>
#include <QPainter>

#include <atomic>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int libraryTitles = 1000;
constexpr int plannedTitles = 10'000;

QByteArray cover(int number)
{
    QImage image(600, 800, QImage::Format_RGB32);
    QPainter painter(&image);
    for (int y = 0; y < image.height(); y += 4)
        painter.fillRect(0, y, image.width(), 4, QColor::fromHsv((number + y) % 360, 160, 220));
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

void fill(const PenFolder &pen)
{
    for (int i = 0; i < libraryTitles; ++i) {
        const QString base = u"book/%1_en"_s.arg(10'000 + i);
        pen.write(base + u".txt"_s,
                  "Name: Title " + QByteArray::number(i)
                      + "\nPublisher: P\nAuthor: A\nBook Area Code: en\nISBN: 978\nType: Buch\n"
                        "Book Version: 1\n");
        pen.write(base + u".png"_s, cover(i % 20));
    }
}

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

/// Plans that many outdated titles.
void plan(int titles)
{
    PlanningTask task;
    std::atomic_int rows = 0;
    for (int i = 0; i < titles; ++i) {
        auto local = std::make_shared<BaseElement>();
        local->mid = QString::number(10'000 + i);
        auto remote = std::make_shared<BaseElement>(*local);
        remote->bookVersion = 2;
        task.localMedias += local;
        task.remoteMedias += remote;
    }
    task.sizeOf = [](const QString &, const std::function<void(std::optional<qint64>)> &told) {
        told(std::nullopt);
    };
    task.queueRow = [&rows](const UpdateElement &) {
        ++rows;
    };
    std::make_shared<UpdatePlanner>(std::move(task))->checkLocalMedias([](int) {});
    if (rows != titles)
        qFatal("%d rows of %d", rows.load(), titles);
}

} // namespace

bool libraryFigures()
{
    PenFolder pen;
    pen.write(u"configure/settings.ini"_s, "firmwareVersion=1\n");
    fill(pen);
    FolderVolumes volumes(pen.volumes());
    FileManager::setVolumeSource(&volumes);

    const Figure scan = measure(
        u"library scan of 1,000 titles against reading the same heads"_s, 2.0, 7,
        [] {
            if (ElementService::getQuilloFilesInfoFromPen().books.size() != libraryTitles)
                qFatal("the scan lost titles");
        },
        [&pen] { readHeads(pen.path(u"book"_s)); });
    bool held = report(scan);
    held = report(u"library scan of 1,000 titles, warm"_s, scan.ours, 300, u"ms"_s) && held;
    held = report(measure(
               u"planning 10,000 outdated titles against 1,000"_s, 12, 5,
               [] { plan(plannedTitles); }, [] { plan(plannedTitles / 10); }))
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
