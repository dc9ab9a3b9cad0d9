#pragma once

#include <QByteArray>
#include <QString>

/// A file that is never stored: its bytes follow from its name and can be had from any offset.
class DemoContent
{
public:
    DemoContent(const QString &name, qint64 size);

    [[nodiscard]] qint64 size() const { return m_size; }
    [[nodiscard]] QByteArray bytes(qint64 offset, qint64 length) const;
    [[nodiscard]] QByteArray sha256() const;
    /// Writes it whole; false when that failed.
    [[nodiscard]] bool writeTo(const QString &path) const;
    /// A strong validator in quotes.
    [[nodiscard]] QByteArray entityTag() const;

private:
    quint64 m_seed;
    qint64 m_size;
};
