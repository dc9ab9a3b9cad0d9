#include "platform/StringTableReader.h"

#include <QRegularExpression>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

StringTableReader::StringTableReader(const QByteArray &utf8)
{
    // Stateless: a sequence cut off at the end is an error, not a wait for more.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    m_text = decoder(utf8);
    m_decoded = !decoder.hasError();
}

std::optional<QHash<QString, QString>> StringTableReader::read()
{
    if (!m_decoded)
        return std::nullopt;
    QHash<QString, QString> table;
    while (skipBlanksAndComments() && m_position < m_text.size()) {
        const std::optional<QString> key = readQuoted();
        if (!key || !take(u'='))
            return std::nullopt;
        const std::optional<QString> text = skipBlanksAndComments() ? readQuoted() : std::nullopt;
        if (!text || !take(u';'))
            return std::nullopt;
        table.insert(*key, *text);
    }
    if (m_position < m_text.size())
        return std::nullopt;
    return table;
}

/// False at a comment that never ends.
bool StringTableReader::skipBlanksAndComments()
{
    while (m_position < m_text.size()) {
        if (m_text.at(m_position).isSpace())
            ++m_position;
        else if (m_text.at(m_position) != u'/')
            return true;
        else if (!skipComment())
            return false;
    }
    return true;
}

bool StringTableReader::skipComment()
{
    const QStringView rest = QStringView(m_text).sliced(m_position);
    const bool block = rest.startsWith("/*"_L1);
    if (!block && !rest.startsWith("//"_L1))
        return false;
    const qsizetype end =
        block ? m_text.indexOf("*/"_L1, m_position + 2) : m_text.indexOf(u'\n', m_position);
    if (end < 0 && block)
        return false;
    m_position = end < 0 ? m_text.size() : end + (block ? 2 : 1);
    return true;
}

bool StringTableReader::take(QChar expected)
{
    if (!skipBlanksAndComments() || m_position >= m_text.size()
        || m_text.at(m_position) != expected)
        return false;
    ++m_position;
    return true;
}

std::optional<QString> StringTableReader::readQuoted()
{
    if (!take(u'"'))
        return std::nullopt;
    QString text;
    while (m_position < m_text.size()) {
        const QChar character = m_text.at(m_position++);
        if (character == u'"')
            return text.isValidUtf16() ? std::optional(text) : std::nullopt;
        if (character != u'\\') {
            text.append(character);
            continue;
        }
        const std::optional<QChar> escaped = readEscape();
        if (!escaped)
            return std::nullopt;
        text.append(*escaped);
    }
    return std::nullopt;
}

std::optional<QChar> StringTableReader::readEscape()
{
    const QChar kind = m_position < m_text.size() ? m_text.at(m_position++) : QChar();
    switch (kind.unicode()) {
    case u'"':
    case u'\\':
        return kind;
    case u'n':
        return u'\n';
    case u't':
        return u'\t';
    case u'U':
        return readUnit();
    default:
        return std::nullopt;
    }
}

/// Four hexadecimal digits: one UTF-16 unit.
std::optional<QChar> StringTableReader::readUnit()
{
    static const QRegularExpression fourDigits(u"[0-9A-Fa-f]{4}"_s);
    const auto match = fourDigits.match(m_text, m_position, QRegularExpression::NormalMatch,
                                        QRegularExpression::AnchorAtOffsetMatchOption);
    if (!match.hasMatch())
        return std::nullopt;
    m_position = match.capturedEnd();
    return QChar(match.capturedView().toUShort(nullptr, 16));
}
