#include "platform/Address.h"

std::optional<QString> percentEncodedForQuery(const QString &text)
{
    if (!text.isValidUtf16())
        return std::nullopt;
    return QString::fromLatin1(QUrl::toPercentEncoding(text, "!$&'()*+,/:;=?@"));
}

QString pathOf(const QUrl &file)
{
    return file.path(QUrl::FullyDecoded);
}

QUrl urlOf(const QString &path)
{
    return QUrl::fromLocalFile(path);
}

std::optional<QUrl> makeURL(const QString &text)
{
    QUrl url(text, QUrl::StrictMode);
    return url.isValid() ? std::optional(url) : std::nullopt;
}
