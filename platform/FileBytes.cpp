#include "platform/FileBytes.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>
#include <utility>

FileBytes::FileBytes(Descriptor file, qint64 length)
    : m_file(std::move(file))
    , m_length(length)
{
}

const uchar *FileBytes::at(qint64 offset, qint64 count)
{
    if (offset < 0 || offset > m_length - count)
        return nullptr;
    if (offset < m_begin || offset + count > m_begin + m_data.size()) {
        // With a little before it, for those who look ahead and come back.
        m_begin = std::max<qint64>(0, offset - m_piece / 4);
        m_data = read(m_begin, offset - m_begin + std::max(count, m_piece));
    }
    const bool isThere = offset + count <= m_begin + m_data.size();
    return isThere ? reinterpret_cast<const uchar *>(m_data.constData()) + (offset - m_begin)
                   : nullptr;
}

QByteArray FileBytes::read(qint64 offset, qint64 count) const
{
    const qint64 wanted = std::clamp<qint64>(m_length - offset, 0, count);
    QByteArray data(wanted, Qt::Uninitialized);
    qint64 length = 0;
    while (length < wanted) {
        const ssize_t got =
            ::pread(m_file.get(), data.data() + length, size_t(wanted - length), offset + length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        length += got;
    }
    data.truncate(length);
    return data;
}
