#include "library/MusicReading.h"

#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/Address.h"
#include "platform/FolderVisit.h"
#include "platform/StandardOutput.h"

#include <QRegularExpression>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

bool isMusic(const QString &name)
{
    static const QRegularExpression ending(u"\\.(mp3|wav)$"_s,
                                           QRegularExpression::CaseInsensitiveOption);
    return ending.match(name).hasMatch();
}

bool isReadable(const FileManager::Entry &entry)
{
    return entry.modified != std::numeric_limits<qint64>::min();
}

} // namespace

MusicReading::MusicReading(const ByteCountFormatter &sizeFormatter,
                           std::shared_ptr<KnownMusic> known, ReadAsset readAsset,
                           std::stop_token stop)
    : m_sizeFormatter(sizeFormatter)
    , m_known(std::move(known))
    , m_readAsset(std::move(readAsset))
    , m_stop(std::move(stop))
{
}

MusicList MusicReading::musicFiles()
{
    const std::optional<PenPlaces> pen = UsbService::connectedPen();
    return pen ? filesIn(*pen) : MusicList();
}

MusicList MusicReading::filesIn(const PenPlaces &pen)
{
    const QUrl folderURL = pen.music();
    const QString folder = pathOf(folderURL);
    QString error;
    const auto entries =
        FileManager::contentsOfDirectory(folder, FileManager::HiddenFiles::Include, {}, &error);
    if (!entries) {
        print(u"ERROR: "_s + error);
        return {};
    }
    // The same folder to the end, also when another pen comes meanwhile.
    const FolderVisit visit = FileManager::visit(folder);
    MusicList files;
    for (const FileManager::Entry &entry : *entries) {
        if (isStopped())
            return {};
        if (!isMusic(entry.name))
            continue;
        if (const auto file = music(folderURL, entry))
            files += file;
    }
    return files;
}

/// Null for what is no file: a folder, a pipe, a link.
std::shared_ptr<Music> MusicReading::music(const QUrl &folder, const FileManager::Entry &entry)
{
    auto music = std::make_shared<Music>(entry.name, URLFactory::fileURL(folder, entry.name));
    const QString path = pathOf(music->fileURL);
    const std::optional<FileManager::Stamp> stamp = FileManager::stampOf(path);
    if (!stamp && isReadable(entry)) {
        debugPrint(u"No file: "_s + path);
        return nullptr;
    }
    AudioAsset read;
    if (stamp) {
        music->bytes = stamp->size;
        music->sizeString = m_sizeFormatter.string(stamp->size);
        read = asset(path, entry.name, *stamp);
    }
    music->interpret = read.artist;
    music->seconds = read.duration;
    music->duration = durationText(read.duration);
    return music;
}

AudioAsset MusicReading::asset(const QString &path, const QString &name,
                               const FileManager::Stamp &stamp)
{
    const auto known = m_known->files.constFind(name);
    if (known != m_known->files.constEnd() && known->stamp == stamp)
        return known->asset;
    const std::optional<AudioAsset> read = m_readAsset(path);
    if (read)
        m_known->files.insert(name, {stamp, *read});
    return read.value_or(AudioAsset());
}

QString durationText(double seconds)
{
    const auto whole = static_cast<qint64>(seconds);
    return u"%1:%2"_s.arg(whole / 60, 2, 10, QLatin1Char('0'))
        .arg(whole % 60, 2, 10, QLatin1Char('0'));
}
