#include "bluetooth/AddressAssembler.h"

#include <utility>

using namespace Qt::StringLiterals;

void AddressAssembler::append(const QString &piece)
{
    // The rest of an address that was cut would pass for another one.
    m_tooLong = m_tooLong || m_urlString.size() + piece.size() > mostCharacters;
    if (!m_tooLong)
        m_urlString += piece;
}

void AddressAssembler::clear()
{
    *this = {};
}

std::optional<QUrl> AddressAssembler::finish(QString &text)
{
    const AddressAssembler finished = std::exchange(*this, {});
    text = finished.m_urlString;
    if (text.startsWith("//"_L1))
        text.remove(0, 2);
    text.replace(u' ', "%20"_L1);
    const QUrl url(text, QUrl::StrictMode);
    if (finished.m_tooLong || text.isEmpty() || !url.isValid())
        return std::nullopt;
    return url;
}
