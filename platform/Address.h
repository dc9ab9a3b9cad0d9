#pragma once

#include <QString>
#include <QUrl>

#include <optional>

/// The text with every character outside the set allowed in a URL query (letters, digits and
/// "!$&'()*+,-./:;=?@_~") percent-encoded; absent for a text that is no valid Unicode.
[[nodiscard]] std::optional<QString> percentEncodedForQuery(const QString &text);

/// The text as an address, strictly parsed; absent when it is empty or none.
[[nodiscard]] std::optional<QUrl> makeURL(const QString &text);
