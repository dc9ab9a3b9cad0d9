#pragma once

#include <QString>

/// The state of one queue row.
enum class DownloadType { Ready, UpToDate, Canceled, Downloading, Copying, Waiting, Failed };

/// The case's name.
[[nodiscard]] QString rawValue(DownloadType type);

/// The key of the state's text.
[[nodiscard]] QString statusTextKey(DownloadType type);
