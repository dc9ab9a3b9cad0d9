#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

#include <optional>

/// Reads one string table: `"key" = "text";` entries with comments of both C kinds between any two
/// tokens. Of two entries with one key the later holds. One reader per table.
class StringTableReader
{
public:
    explicit StringTableReader(const QByteArray &utf8);

    /// The whole table; absent when any of it is malformed or no UTF-8.
    [[nodiscard]] std::optional<QHash<QString, QString>> read();

private:
    bool skipBlanksAndComments();
    bool skipComment();
    bool take(QChar expected);
    [[nodiscard]] std::optional<QString> readQuoted();
    [[nodiscard]] std::optional<QChar> readEscape();
    [[nodiscard]] std::optional<QChar> readUnit();

    QString m_text;
    qsizetype m_position = 0;
    bool m_decoded = false;
};
