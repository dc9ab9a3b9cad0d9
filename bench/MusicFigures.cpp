#include "bench/BenchPen.h"
#include "bench/BenchProgram.h"
#include "bench/Child.h"
#include "bench/Figures.h"
#include "bench/Heartbeat.h"

#include "app/ViewController.h"
#include "library/LibraryLists.h"
#include "library/MusicController.h"
#include "library/MusicReading.h"
#include "library/MusicView.h"
#include "platform/FileManager.h"
#include "platform/FolderVolumes.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr int musicFiles = 5000;
constexpr int frames = 100;
constexpr int frameLength = 384; // of 128 kbit/s at 48 kHz

/// A file with both kinds of tags, and a first frame that tells how many there are.
QByteArray song(int number)
{
    QByteArray frame(frameLength, '\0');
    frame.replace(0, 3, "\xFF\xFB\x94");
    QByteArray first = frame;
    const QByteArray told =
        QByteArray("Info\0\0\0\3\0\0\0\x64", 12) + QByteArray::fromHex("00009780");
    first.replace(36, told.size(), told);
    const QByteArray name = QByteArray::number(number).rightJustified(10, '0');
    return QByteArray("ID3\3\0\0\0\0\0\x15TPE1\0\0\0\xB\0\0\0", 21) + name + first
           + frame.repeated(frames) + "TAG" + QByteArray(125, '\0');
}

void addMusic(const BenchPen &pen)
{
    for (int i = 0; i < musicFiles; ++i) {
        QFile file(pen.path(u"mp3/%1.mp3"_s.arg(i)));
        if (!file.open(QFile::WriteOnly) || file.write(song(i)) < 0)
            qFatal("no music");
    }
}

/// What any reading has to read, and nothing else.
void readHeadsAndTails(const QString &folder)
{
    const QStringList names = QDir(folder).entryList(QDir::Files, QDir::Unsorted);
    for (const QString &name : names) {
        char buffer[4096];
        const int file =
            ::open(QFile::encodeName(folder + u'/' + name).constData(), O_RDONLY | O_CLOEXEC);
        if (::read(file, buffer, sizeof buffer) < 0 || ::lseek(file, -128, SEEK_END) < 0
            || ::read(file, buffer, 128) < 0)
            qFatal("unreadable: %s", qPrintable(name));
        ::close(file);
    }
}

void read(const std::shared_ptr<KnownMusic> &known)
{
    MusicReading reading(ByteCountFormatter(u"de"_s), known, AudioAsset::read, {});
    const MusicList music = reading.musicFiles();
    if (music.size() != musicFiles || music.first()->duration != u"00:02"_s
        || !music.first()->interpret)
        qFatal("the reading lost music");
}

} // namespace

bool musicFigures()
{
    const BenchPen pen(0, BenchPen::Files::ToScan);
    addMusic(pen);
    FolderVolumes volumes(pen.volumes());
    FileManager::setVolumeSource(&volumes);
    const auto heads = [&pen] {
        readHeadsAndTails(pen.path(u"mp3"_s));
    };
    bool held = report(measure(
        u"5,000 music files read against reading their heads and tails"_s, 4, 5,
        [] { read(std::make_shared<KnownMusic>()); }, heads));
    const auto known = std::make_shared<KnownMusic>();
    held = report(measure(
               u"the same files read again against reading their heads and tails"_s, 1.5, 5,
               [&known] { read(known); }, heads))
           && held;
    FileManager::setVolumeSource(nullptr);
    const auto told = runChild(u"music"_s, {pen.volumes(), pen.configuration()});
    held = report(u"longest busy stretch of the main thread while they are read and shown"_s,
                  told.value(u"stretch"_s), 50, u"ms"_s)
           && held;
    return held;
}

int musicChild(int argc, char **argv)
{
    BenchProgram program(argc, argv, childArgumentAt(argv, 0), childArgumentAt(argv, 1));
    program.start();
    program.endRun();
    const Heartbeat heartbeat;
    ViewController &controller = *program.viewController();
    controller.musicService.forgetPen();
    musicList().clear();
    controller.showView(NavElementType::Music);
    controller.loadData();
    const MusicView &view = *controller.musicController;
    program.waitFor([&] { return view.list->musicArray().size() == musicFiles; });
    controller.showView(NavElementType::MyTitles);
    program.waitFor(300); // what follows
    tell(u"stretch"_s, heartbeat.longestWait());
    return 0;
}
