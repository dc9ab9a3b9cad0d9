#pragma once

#include "library/CoverImage.h"

#include <QCache>
#include <QObject>
#include <QPixmap>
#include <QSet>

#include <memory>

/// The pixels of covers at the size they are shown in. They are read and decoded on the pool, the
/// newest request first, since that is what stands on the screen; a bounded cache keeps them. Main
/// thread only; may be destroyed while the pool works.
class CoverCache : public QObject
{
    Q_OBJECT

public:
    /// Two screens of tiles at twice the usual resolution; with more, a library of 10,000 titles
    /// takes over 96 MiB.
    static constexpr qsizetype maximumBytes = 48 * 1024 * 1024;
    /// Older requests are forgotten; a view that still shows them asks again when it paints.
    static constexpr qsizetype maximumPending = 128;

    explicit CoverCache(QObject *parent = nullptr);
    ~CoverCache() override;

    /// The cover fitted into `target`, in device independent pixels; the dummy cover until it is
    /// ready, and for good when the file is no picture.
    [[nodiscard]] QPixmap pixmap(const CoverImage &cover, QSize target, qreal devicePixelRatio);

    /// Forgets everything, also which covers could not be read.
    void clear();

Q_SIGNALS:
    /// The next pixmap() of this cover, in one of the sizes asked for, returns it.
    void ready(const QString &path);

private:
    struct Key
    {
        CoverImage cover;
        QSize target;
        qreal devicePixelRatio;

        [[nodiscard]] QSize pixels() const;
        friend bool operator==(const Key &, const Key &) = default;
        friend size_t qHash(const Key &key, size_t seed = 0)
        {
            return qHashMulti(seed, key.cover.path, key.cover.bytes, key.cover.modified,
                              key.target.width(), key.target.height(), key.devicePixelRatio);
        }
    };
    class Requests;

    static void work(const std::shared_ptr<Requests> &requests);

    [[nodiscard]] QPixmap dummy(const Key &key);
    void request(const Key &key);
    void store(const Key &key, const QImage &image);
    void insert(const Key &key, const QPixmap &pixmap);

    QCache<Key, QPixmap> m_pixmaps{maximumBytes};
    QSet<Key> m_requested;
    std::shared_ptr<Requests> m_requests;
};
