#include "demo/DemoContent.h"

#include <QCryptographicHash>
#include <QFile>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr qint64 wordSize = 8;
constexpr qint64 blockSize = 64 * 1024;

/// Bytes that look random at every position, from the position alone.
quint64 wordAt(quint64 seed, quint64 index)
{
    quint64 z = seed + (index + 1) * 0x9e3779b97f4a7c15U;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31);
}

quint64 seedOf(const QString &name)
{
    const QByteArray hash = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha256);
    return qFromBigEndian<quint64>(hash.constData());
}

} // namespace

DemoContent::DemoContent(const QString &name, qint64 size)
    : m_seed(seedOf(name))
    , m_size(size)
{
}

QByteArray DemoContent::bytes(qint64 offset, qint64 length) const
{
    const qint64 end = std::min(m_size, offset + length);
    if (offset >= end)
        return {};
    const qint64 first = offset / wordSize;
    const qint64 last = (end - 1) / wordSize;
    QByteArray words((last - first + 1) * wordSize, Qt::Uninitialized);
    for (qint64 i = first; i <= last; ++i)
        qToBigEndian(wordAt(m_seed, quint64(i)), words.data() + (i - first) * wordSize);
    return words.mid(offset - first * wordSize, end - offset);
}

QByteArray DemoContent::sha256() const
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (qint64 offset = 0; offset < m_size; offset += blockSize)
        hash.addData(bytes(offset, blockSize));
    return hash.result();
}

bool DemoContent::writeTo(const QString &path) const
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    for (qint64 offset = 0; offset < m_size; offset += blockSize) {
        const QByteArray block = bytes(offset, blockSize);
        if (file.write(block) != block.size())
            return false;
    }
    return file.flush();
}

QByteArray DemoContent::entityTag() const
{
    return '"' + QByteArray::number(m_seed, 16) + '-' + QByteArray::number(m_size, 16) + '"';
}
