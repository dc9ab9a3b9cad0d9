#include "demo/PenBuilder.h"

#include "demo/DemoCatalogue.h"
#include "demo/WaveFile.h"
#include "platform/TerminationSignals.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using PenState = DemoCatalogue::PenState;

constexpr qsizetype loggedTitles = 5;

struct Tune
{
    QString title;
    QString artist;
    QList<int> notes;
};

const std::array tunes = {
    Tune{u"Nachtlied im Wolkenhafen"_s, u"Imke Silberzweig"_s, {3, 7, 10, 7, 5, 3, -2, 3}},
    Tune{u"The Kettle Waltz"_s, u"Hazel Thimblewick"_s, {0, 4, 7, 4, 0, 4, 9, 7, 5, 4}},
    Tune{u"Laternenmarsch"_s, u"Ottilie Haferkorn"_s, {7, 7, 4, 0, 2, 4, 5, 7, 12}},
};

bool write(const QString &path, const QByteArray &data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.flush();
}

bool writeTitle(const DemoCatalogue &catalogue, const DemoTitle &title, const QString &book)
{
    const PenState state = catalogue.penState(title);
    if (state == PenState::Requested)
        return true;
    const int version = DemoCatalogue::penVersion(title, state);
    const QString base = book + u'/' + title.id();
    bool written = write(base + u".txt"_s, title.record(version).textFileContent().toUtf8());
    if (state != PenState::WithoutCover)
        written &= write(base + u".png"_s, catalogue.cover(title));
    if (state != PenState::WithoutContent)
        written &= catalogue.content(title, version).writeTo(base + u".qnk"_s);
    return written;
}

/// Covers take most of the time, so the titles are shared out over the processors.
bool writeTitles(const DemoCatalogue &catalogue, const QString &book)
{
    const QList<DemoTitle> &titles = catalogue.titles();
    std::atomic<qsizetype> next = 0;
    std::atomic<bool> written = true;
    const auto work = [&] {
        for (qsizetype i = next++; i < titles.size(); i = next++) {
            if (TerminationSignals::haveCome() || !writeTitle(catalogue, titles.at(i), book))
                written = false;
        }
    };
    std::vector<std::jthread> workers;
    for (unsigned i = 0; i < std::max(1U, std::thread::hardware_concurrency()); ++i)
        workers.emplace_back(work);
    workers.clear(); // waits for them
    return written;
}

QByteArray settings()
{
    return u"deviceName=Quillo\nfirmwareVersion=%1\nImageVersion=%2\nvolume=6\n"_s
        .arg(DemoCatalogue::firmwareVersionOnPen)
        .arg(DemoCatalogue::imageVersionOnPen)
        .toUtf8();
}

QByteArray requests(const DemoCatalogue &catalogue)
{
    QByteArray lines;
    for (const DemoTitle &title : catalogue.titles()) {
        if (catalogue.penState(title) == PenState::Requested)
            lines += "MID=" + QByteArray::number(title.mid).rightJustified(4, '0') + '\n';
    }
    return lines;
}

QByteArray usageLog(const DemoCatalogue &catalogue)
{
    QByteArray lines;
    const QList<DemoTitle> used =
        catalogue.titles().last(std::min(loggedTitles, catalogue.titles().size()));
    for (const DemoTitle &title : used)
        lines += "MID=" + QByteArray::number(title.mid) + '\n';
    return lines;
}

bool writeMusic(const QString &folder)
{
    return std::all_of(tunes.begin(), tunes.end(), [&folder](const Tune &tune) {
        return write(folder + u'/' + tune.title + u".wav"_s,
                     waveFile(tune.title, tune.artist, tune.notes));
    });
}

} // namespace

bool buildPen(const DemoCatalogue &catalogue, const QString &folder)
{
    const QDir root(folder);
    for (const QString &name : {u"book"_s, u"configure"_s, u"mp3"_s}) {
        if (!root.mkpath(name))
            return false;
    }
    return writeTitles(catalogue, root.filePath(u"book"_s))
           && write(root.filePath(u"configure/settings.ini"_s), settings())
           && write(root.filePath(u"configure/tbd.txt"_s), requests(catalogue))
           && write(root.filePath(u"configure/log.txt"_s), usageLog(catalogue))
           && write(root.filePath(u".thumbnails"_s), QByteArray("left by a computer\n"))
           && writeMusic(root.filePath(u"mp3"_s));
}
