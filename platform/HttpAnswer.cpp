#include "platform/HttpAnswer.h"

#include "platform/URLTypes.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

bool isHeaderValue(const QByteArray &text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](char character) {
        return character >= ' ' && character <= '~';
    });
}

/// Digits and nothing else; absent also beyond largestFile.
std::optional<qint64> lengthIn(const QByteArray &header)
{
    const bool isNumber =
        !header.isEmpty() && header.size() <= 18
        && std::all_of(header.cbegin(), header.cend(), [](char c) { return c >= '0' && c <= '9'; });
    const qint64 length = isNumber ? header.toLongLong() : -1;
    return isNumber && length <= largestFile ? std::optional(length) : std::nullopt;
}

/// Where both name it, the version has to be the same.
bool isSameVersion(const QByteArray &validator, const URLResponse &response)
{
    const QByteArray name = validator.startsWith('"') ? "etag" : "last-modified";
    const QByteArray present = response.header(name);
    return present.isEmpty() || present == validator;
}

} // namespace

BodyLength BodyLength::of(const URLResponse &response)
{
    const QByteArray encoding = response.header("transfer-encoding").toLower();
    if (!encoding.isEmpty())
        return {encoding == "chunked" ? Told::ByChunks : Told::Not};
    if (!response.headers.contains("content-length"))
        return {Told::Not};
    const std::optional<qint64> length = lengthIn(response.header("content-length"));
    return length ? BodyLength{Told::ByLength, *length} : BodyLength{Told::ByNonsense};
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

QString objectionToPart(const URLResponse &response, const QByteArray &validator, qint64 bytes,
                        qint64 total)
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
    const qint64 length = BodyLength::of(response).bytes;
    if (length >= 0 && length != range->end - range->start + 1)
        return QStringLiteral("The partial answer contradicts itself");
    if (!isSameVersion(validator, response))
        return QStringLiteral("The file has changed on the server");
    return {};
}

bool isWebAddress(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https"));
}
