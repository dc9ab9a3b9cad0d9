#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// The addresses of every request, formed from the configured values. Each is absent, after one
// debug line, when its key is missing from the configuration. Any thread.

/// The value of a configuration key.
[[nodiscard]] std::optional<QString> configuredAddress(const QString &key);

/// The same as a URL; absent with a debug line also when the value is none.
[[nodiscard]] std::optional<QUrl> configuredURL(const QString &key);

/// Each MID without NUL characters and outer white space, in double quotes, with commas between;
/// blank ones are left out. Absent for an empty array.
[[nodiscard]] std::optional<QString> midList(const QStringList &mids);

[[nodiscard]] std::optional<QUrl> versionsURL();
[[nodiscard]] std::optional<QUrl> titleDataURL(const QString &midList);

/// Not yet percent-encoded.
[[nodiscard]] std::optional<QString> coverAddress(const QString &publisherId, const QString &mid,
                                                  const QString &elementId);

/// Percent-encoded.
[[nodiscard]] std::optional<QString> contentAddress(const QString &publisherId, const QString &mid,
                                                    const QString &bookVersion,
                                                    const QString &elementId);

/// The address of a system software file.
[[nodiscard]] std::optional<QString> softwareAddress(const QString &fileName);

[[nodiscard]] QString removeLeadingZeros(const QString &text);
