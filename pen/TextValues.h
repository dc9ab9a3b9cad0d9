#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// How the texts on the pen and from the servers are taken apart.

/// Splits at every newline character: U+000A to U+000D, U+0085, U+2028, U+2029. Empty pieces stay.
[[nodiscard]] QStringList splitAtNewlines(const QString &text);
/// The same pieces without copies: they are of `text`.
[[nodiscard]] QList<QStringView> linesOf(QStringView text);

/// The trimmed second piece of `text` split at `separator`; absent when `text` does not contain it.
[[nodiscard]] std::optional<QString> valueAfter(QStringView text, QChar separator);

/// A decimal integer, optionally signed, digits only; absent otherwise or when it does not fit.
[[nodiscard]] std::optional<qint64> decimalInteger(const QString &text);

/// The bytes as UTF-8 text without a byte order mark at its beginning; absent when they are none.
[[nodiscard]] std::optional<QString> decodeUtf8(const QByteArray &bytes);

/// Whether a name from a file or a server may become part of a path: not empty, no separator, NUL
/// or control character, neither "." nor "..".
[[nodiscard]] bool isSafeFileName(const QString &name);
