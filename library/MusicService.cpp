#include "library/MusicService.h"

#include "base/ApplicationLog.h"
#include "base/Localization.h"
#include "platform/Dispatch.h"

#include <utility>

using namespace Qt::StringLiterals;

MusicService::MusicService(QObject *parent)
    : QObject(parent)
{
}

MusicService::~MusicService()
{
    m_stop.request_stop();
}

const ByteCountFormatter &MusicService::sizeFormatter()
{
    if (!m_sizeFormatter || m_sizeFormatter->language() != currentLanguage())
        m_sizeFormatter.emplace(currentLanguage());
    return *m_sizeFormatter;
}

MusicReading MusicService::makeReading()
{
    m_stop = {};
    return {sizeFormatter(), m_known, readAsset, m_stop.get_token()};
}

MusicList MusicService::getMusicFiles()
{
    // The memory may be the pool's just now.
    return MusicReading(sizeFormatter(), std::make_shared<KnownMusic>(), readAsset, {})
        .musicFiles();
}

bool MusicService::isReadingFirst() const
{
    return m_loaded && !m_hasRead;
}

void MusicService::load(Loaded loaded)
{
    m_loaded = std::move(loaded);
    m_stop.request_stop();
    startReading();
}

void MusicService::startReading()
{
    if (m_isReading || m_isReleased || !m_loaded)
        return;
    m_isReading = true;
    Dispatch::global([this, guard = QPointer<QObject>(this), reading = makeReading()]() mutable {
        writeLog(u"loadData in DispatchQueue"_s);
        const MusicList music = reading.musicFiles();
        writeLog(u"loadData nach getMusicFromPen"_s);
        Dispatch::main(guard, [this, reading, music] { readingEnded(reading, music); });
    });
}

void MusicService::readingEnded(const MusicReading &reading, const MusicList &music)
{
    m_isReading = false;
    if (const auto released = std::exchange(m_released, nullptr))
        released();
    if (reading.isStopped()) {
        startReading();
        return;
    }
    m_hasRead = true;
    if (const auto loaded = std::exchange(m_loaded, nullptr))
        loaded(music);
}

void MusicService::forgetPen()
{
    m_stop.request_stop();
    m_loaded = nullptr;
    m_known = std::make_shared<KnownMusic>();
    m_hasRead = false;
    keepPen();
}

void MusicService::releasePen(std::function<void()> released)
{
    m_isReleased = true;
    m_stop.request_stop();
    m_released = std::move(released);
    if (!m_isReading)
        std::exchange(m_released, nullptr)();
}

void MusicService::keepPen()
{
    m_isReleased = false;
    startReading();
}
