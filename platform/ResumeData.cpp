#include "platform/ResumeData.h"

#include "platform/URLTypes.h"

#include <QDataStream>
#include <QIODevice>
#include <QRegularExpression>

#include <algorithm>

namespace {

constexpr quint32 magic = 0x51'52'45'53; // "QRES"
constexpr quint16 currentVersion = 1;
constexpr qsizetype maximumSize = 64 * 1024;

bool isHeaderValue(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](char character) {
        return character >= ' ' && character <= '~';
    });
}

bool isUsable(const ResumeData &data)
{
    return isWebAddress(data.url) && isHeaderValue(data.validator) && !data.file.isEmpty()
           && data.bytes > 0 && (data.total == -1 || data.total >= data.bytes);
}

/// Where both name it, the version has to be the same.
bool sameVersion(const QByteArray &validator, const URLResponse &response)
{
    const QByteArray name = validator.startsWith('"') ? "etag" : "last-modified";
    const QByteArray present = response.header(name);
    return present.isEmpty() || present == validator;
}

} // namespace

QByteArray ResumeData::serialized() const
{
    QByteArray data;
    QDataStream stream(&data, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_6_4);
    stream << magic << currentVersion << url.toEncoded() << validator << file << bytes << total;
    return data;
}

std::optional<ResumeData> ResumeData::parse(const QByteArray &data)
{
    if (data.size() > maximumSize)
        return std::nullopt;
    QDataStream stream(data);
    stream.setVersion(QDataStream::Qt_6_4);
    quint32 mark = 0;
    quint16 version = 0;
    stream >> mark >> version;
    if (mark != magic || version != currentVersion)
        return std::nullopt;
    QByteArray address;
    ResumeData result;
    stream >> address >> result.validator >> result.file >> result.bytes >> result.total;
    result.url = QUrl::fromEncoded(address, QUrl::StrictMode);
    if (stream.status() != QDataStream::Ok || !stream.atEnd() || !isUsable(result))
        return std::nullopt;
    return result;
}

QString ResumeData::objectionTo(const URLResponse &response) const
{
    const auto range = ContentRange::parse(response.header("content-range"));
    if (!range)
        return QStringLiteral("The partial answer does not say which part it is");
    if (range->start != bytes)
        return QStringLiteral("The partial answer starts at byte %1 instead of %2")
            .arg(range->start)
            .arg(bytes);
    if (total >= 0 && range->total >= 0 && range->total != total)
        return QStringLiteral("The file had %1 bytes and now has %2").arg(total).arg(range->total);
    const qint64 length = announcedLength(response);
    if (length >= 0 && length != range->end - range->start + 1)
        return QStringLiteral("The partial answer contradicts itself");
    if (!sameVersion(validator, response))
        return QStringLiteral("The file has changed on the server");
    return {};
}

std::optional<ContentRange> ContentRange::parse(const QByteArray &header)
{
    static const QRegularExpression form(
        QStringLiteral("\\Abytes (\\d{1,18})-(\\d{1,18})/(\\d{1,18}|\\*)\\z"),
        QRegularExpression::CaseInsensitiveOption);
    const auto match = form.match(QString::fromLatin1(header));
    if (!match.hasMatch())
        return std::nullopt;
    const QString total = match.captured(3);
    const ContentRange range{match.captured(1).toLongLong(), match.captured(2).toLongLong(),
                             total == QLatin1Char('*') ? -1 : total.toLongLong()};
    const bool ordered = range.start <= range.end && (range.total < 0 || range.end < range.total);
    return ordered ? std::optional(range) : std::nullopt;
}

QByteArray validatorOf(const URLResponse &response)
{
    const QByteArray tag = response.header("etag");
    const QByteArray validator = tag.startsWith('"') ? tag : response.header("last-modified");
    return isHeaderValue(validator) ? validator : QByteArray();
}

qint64 announcedLength(const URLResponse &response)
{
    if (!response.header("transfer-encoding").isEmpty())
        return -1;
    bool isNumber = false;
    const qint64 length = response.header("content-length").toLongLong(&isNumber);
    return isNumber && length >= 0 ? length : -1;
}

bool isWebAddress(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}
