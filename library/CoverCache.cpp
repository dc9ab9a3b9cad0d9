#include "library/CoverCache.h"

#include "platform/Dispatch.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

#include <QBuffer>
#include <QImageReader>
#include <QMutex>
#include <QPointer>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumFileBytes = 64 * 1024 * 1024;

QImage paintable(const QImage &image)
{
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32_Premultiplied
                                                         : QImage::Format_RGB32);
}

/// A vector picture is drawn at its final size at once.
QImage decodeShipped(const QString &path, QSize pixels)
{
    QImageReader reader(path);
    reader.setScaledSize(reader.size().scaled(pixels, Qt::KeepAspectRatio));
    return paintable(reader.read());
}

/// Null for anything that is not a whole picture of sane size.
QImage decodeFile(const QString &path, QSize pixels)
{
    FileManager::Contents contents = FileManager::contents(path, maximumFileBytes);
    const std::optional<QSize> size =
        contents.data ? pictureSize(*contents.data) : std::optional<QSize>();
    if (!size || !isShowable(*size))
        return {};
    QBuffer buffer(&*contents.data);
    QImageReader reader(&buffer);
    reader.setAutoTransform(true);
    QImage image;
    // A cut file leaves half a picture behind a false result.
    if (!reader.read(&image))
        return {};
    return paintable(image.scaled(pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation));
}

QImage decode(const CoverImage &cover, QSize pixels)
{
    return cover.path.startsWith(":/"_L1) ? decodeShipped(cover.path, pixels)
                                          : decodeFile(cover.path, pixels);
}

} // namespace

/// What the main thread asks for and the pool takes, with the way back.
class CoverCache::Requests
{
public:
    explicit Requests(CoverCache *owner)
        : m_owner(owner)
        , m_guard(owner)
    {
    }

    /// The request that had to make room, if any.
    std::optional<Key> add(const Key &key)
    {
        const QMutexLocker locker(&m_mutex);
        m_pending.append(key);
        if (m_pending.size() <= maximumPending)
            return {};
        return m_pending.takeFirst();
    }

    void moveToFront(const Key &key)
    {
        const QMutexLocker locker(&m_mutex);
        if (m_pending.removeOne(key))
            m_pending.append(key);
    }

    /// Whether another worker is to be started, which then counts until goesOn() says no. Few at a
    /// time: what is queued on the pool is done in order, and the toolkit paints with its help.
    [[nodiscard]] bool wantsWorker()
    {
        const QMutexLocker locker(&m_mutex);
        if (m_workers >= QThread::idealThreadCount())
            return false;
        ++m_workers;
        return true;
    }

    [[nodiscard]] bool goesOn()
    {
        const QMutexLocker locker(&m_mutex);
        if (!m_pending.isEmpty())
            return true;
        --m_workers;
        return false;
    }

    std::optional<Key> takeNewest()
    {
        const QMutexLocker locker(&m_mutex);
        return m_pending.isEmpty() ? std::nullopt : std::optional(m_pending.takeLast());
    }

    void deliver(const Key &key, const QImage &image) const
    {
        Dispatch::main(m_guard, [owner = m_owner, key, image] { owner->store(key, image); });
    }

    void clear()
    {
        const QMutexLocker locker(&m_mutex);
        m_pending.clear();
    }

private:
    CoverCache *m_owner; ///< to be touched behind the guard only
    QPointer<QObject> m_guard;
    QMutex m_mutex;
    QList<Key> m_pending; ///< newest last
    int m_workers = 0;
};

QSize CoverCache::Key::pixels() const
{
    return (QSizeF(target) * devicePixelRatio).toSize();
}

CoverCache::CoverCache(QObject *parent)
    : QObject(parent)
    , m_requests(std::make_shared<Requests>(this))
{
}

CoverCache::~CoverCache()
{
    m_requests->clear();
}

QPixmap CoverCache::pixmap(const CoverImage &cover, QSize target, qreal devicePixelRatio)
{
    const Key key{cover, target, devicePixelRatio};
    if (const QPixmap *known = m_pixmaps.object(key))
        return *known;
    if (cover != dummyCover())
        request(key);
    return dummy(key);
}

void CoverCache::clear()
{
    m_requests->clear();
    m_requested.clear();
    m_pixmaps.clear();
}

QPixmap CoverCache::dummy(const Key &key)
{
    const Key dummyKey{dummyCover(), key.target, key.devicePixelRatio};
    if (const QPixmap *known = m_pixmaps.object(dummyKey))
        return *known;
    QPixmap pixmap = QPixmap::fromImage(decodeShipped(dummyKey.cover.path, dummyKey.pixels()));
    pixmap.setDevicePixelRatio(key.devicePixelRatio);
    insert(dummyKey, pixmap);
    return pixmap;
}

void CoverCache::request(const Key &key)
{
    if (m_requested.contains(key)) {
        m_requests->moveToFront(key);
        return;
    }
    m_requested.insert(key);
    if (const std::optional<Key> forgotten = m_requests->add(key))
        m_requested.remove(*forgotten);
    if (m_requests->wantsWorker())
        work(m_requests);
}

void CoverCache::work(const std::shared_ptr<Requests> &requests)
{
    Dispatch::global([requests] {
        if (const std::optional<Key> key = requests->takeNewest())
            requests->deliver(*key, decode(key->cover, key->pixels()));
        if (requests->goesOn())
            work(requests);
    });
}

void CoverCache::store(const Key &key, const QImage &image)
{
    // Asked for before everything was forgotten.
    if (!m_requested.remove(key))
        return;
    if (image.isNull()) {
        debugPrint(u"Cover %1 could not be decoded."_s.arg(key.cover.path));
        insert(key, dummy(key));
    } else {
        QPixmap pixmap = QPixmap::fromImage(image);
        pixmap.setDevicePixelRatio(key.devicePixelRatio);
        insert(key, pixmap);
    }
    Q_EMIT ready(key.cover.path);
}

void CoverCache::insert(const Key &key, const QPixmap &pixmap)
{
    const qsizetype bytes = qsizetype{4} * pixmap.width() * pixmap.height();
    m_pixmaps.insert(key, new QPixmap(pixmap), bytes);
}
