#include "pen/TextValues.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

bool isNewline(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= 0x0a && code <= 0x0d) || code == 0x85 || code == 0x2028 || code == 0x2029;
}

} // namespace

QList<QStringView> linesOf(QStringView text)
{
    QList<QStringView> lines;
    lines.reserve(8); // of the texts read most
    qsizetype start = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isNewline(text.at(i))) {
            lines += text.mid(start, i - start);
            start = i + 1;
        }
    }
    lines += text.mid(start);
    return lines;
}

QStringList splitAtNewlines(const QString &text)
{
    QStringList pieces;
    for (const QStringView line : linesOf(text))
        pieces += line.toString();
    return pieces;
}

std::optional<QString> decodeUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}

bool isSafeFileName(const QString &name)
{
    if (name.isEmpty() || name == u"."_s || name == u".."_s)
        return false;
    return std::none_of(name.begin(), name.end(), [](QChar character) {
        return character == u'/' || character == u'\\'
               || character.category() == QChar::Other_Control;
    });
}

std::optional<QString> valueAfter(QStringView text, QChar separator)
{
    const qsizetype first = text.indexOf(separator);
    if (first < 0)
        return std::nullopt;
    const qsizetype second = text.indexOf(separator, first + 1);
    const qsizetype end = second < 0 ? text.size() : second;
    return text.mid(first + 1, end - first - 1).trimmed().toString();
}

std::optional<qint64> decimalInteger(const QString &text)
{
    const qsizetype sign = text.startsWith(u'-') || text.startsWith(u'+') ? 1 : 0;
    for (qsizetype i = sign; i < text.size(); ++i) {
        if (text.at(i) < u'0' || text.at(i) > u'9')
            return std::nullopt;
    }
    bool ok = false;
    const qint64 value = text.toLongLong(&ok);
    return ok ? std::optional(value) : std::nullopt;
}
