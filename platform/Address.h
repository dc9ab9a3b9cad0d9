#pragma once

#include <QString>
#include <QUrl>

#include <optional>

/// The text with every character outside the set allowed in a URL query (letters, digits and
/// "!$&'()*+,-./:;=?@_~") percent-encoded; absent for a text that is no valid Unicode.
[[nodiscard]] std::optional<QString> percentEncodedForQuery(const QString &text);

/// The path that a file's address names, as FileManager takes it, and the address of such a path.
/// Names may hold "%", "#" and "?", and a "/" at the end stays.
[[nodiscard]] QString pathOf(const QUrl &file);
[[nodiscard]] QUrl urlOf(const QString &path);

/// The text as an address, strictly parsed; absent when it is empty or none.
[[nodiscard]] std::optional<QUrl> makeURL(const QString &text);
