#pragma once

#include "platform/Descriptor.h"

#include <QByteArray>

/// A file's bytes wherever they are asked for, read in pieces. What lies behind the file's end is
/// absent, whatever its headers say. One thread at a time.
class FileBytes
{
public:
    FileBytes(Descriptor file, qint64 length);

    [[nodiscard]] qint64 length() const { return m_length; }

    /// Null when the file has not all of them; valid until the next call.
    [[nodiscard]] const uchar *at(qint64 offset, qint64 count);
    /// As many of them as there are.
    [[nodiscard]] QByteArray read(qint64 offset, qint64 count) const;

    /// How much is read at a time from now on.
    void setPiece(qint64 piece) { m_piece = piece; }

private:
    Descriptor m_file;
    qint64 m_length;
    qint64 m_piece = 4096;
    qint64 m_begin = 0;
    QByteArray m_data;
};

[[nodiscard]] constexpr quint32 bigEndian(const uchar *bytes)
{
    return quint32(bytes[0]) << 24 | quint32(bytes[1]) << 16 | quint32(bytes[2]) << 8 | bytes[3];
}

[[nodiscard]] constexpr quint32 littleEndian(const uchar *bytes)
{
    return quint32(bytes[3]) << 24 | quint32(bytes[2]) << 16 | quint32(bytes[1]) << 8 | bytes[0];
}
