#pragma once

#include "library/MusicReading.h"

#include <QObject>

/// Reads the music on the pen, on the pool, one look through the folder at a time. Main thread
/// only.
class MusicService : public QObject
{
    Q_OBJECT

public:
    using Loaded = std::function<void(const MusicList &music)>;

    explicit MusicService(QObject *parent = nullptr);
    /// A reading under way gives up behind its file; nobody waits for it here.
    ~MusicService() override;

    /// Lists the music in the current language and calls `loaded` once. Asked again before that,
    /// the reading under way gives up and only the last one's `loaded` is called.
    void load(Loaded loaded);
    /// The music of the pen, read at once on this thread.
    [[nodiscard]] MusicList getMusicFiles();

    /// While the music of a pen is being read for the first time.
    [[nodiscard]] bool isReadingFirst() const;

    /// The pen has gone: nothing of it is loaded any more, nor remembered.
    void forgetPen();
    /// Stops reading and calls back once no file of the pen is open; what is asked for meanwhile
    /// waits for keepPen().
    void releasePen(std::function<void()> released);
    void keepPen();

    /// What opens a file; a test watches or holds it up.
    MusicReading::ReadAsset readAsset = AudioAsset::read;

private:
    [[nodiscard]] const ByteCountFormatter &sizeFormatter();
    [[nodiscard]] MusicReading makeReading();
    void startReading();
    void readingEnded(const MusicReading &reading, const MusicList &music);

    std::optional<ByteCountFormatter> m_sizeFormatter; ///< made when first used in a language
    std::shared_ptr<KnownMusic> m_known = std::make_shared<KnownMusic>();
    std::stop_source m_stop;
    Loaded m_loaded; ///< empty when nothing is to be loaded
    std::function<void()> m_released;
    bool m_isReading = false;
    bool m_isReleased = false;
    bool m_hasRead = false; ///< of this pen
};
