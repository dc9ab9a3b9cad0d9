#include "platform/Address.h"

std::optional<QString> percentEncodedForQuery(const QString &text)
{
    if (!text.isValidUtf16())
        return std::nullopt;
    return QString::fromLatin1(QUrl::toPercentEncoding(text, "!$&'()*+,/:;=?@"));
}

std::optional<QUrl> makeURL(const QString &text)
{
    QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.isEmpty() ? std::optional(url) : std::nullopt;
}
