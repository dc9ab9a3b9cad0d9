#pragma once

#include <QString>

/// The kinds of files on the pen.
enum class FileType { txt, png, qnk, ini, iso, bin };

/// The case's name: "txt", "png" and so on.
[[nodiscard]] QString name(FileType type);

/// "." and the case's name.
[[nodiscard]] QString fileExtension(FileType type);
