#pragma once

#include <QtGlobal>

class FileBytes;

/// How many seconds the MPEG audio between the two offsets lasts; 0 where there is none. What its
/// first frame promises counts only when the bytes for it are there; a file of one bit rate is
/// calculated; of all others the frames are counted.
[[nodiscard]] double mpegDuration(FileBytes &bytes, qint64 begin, qint64 end);
