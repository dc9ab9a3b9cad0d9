#pragma once

#include <QSize>
#include <QString>

#include <optional>

/// A cover's place, not its pixels: views decode it when they first show it.
struct CoverImage
{
    QString path;        ///< for FileManager, or ":/..." for a shipped picture
    QSize size;          ///< pixels; empty for a shipped picture
    qint64 bytes = 0;    ///< file size
    qint64 modified = 0; ///< nanoseconds since the epoch

    friend bool operator==(const CoverImage &, const CoverImage &) = default;
};

/// The shipped stand-in "dummy_book".
[[nodiscard]] CoverImage dummyCover();

/// Whether the bytes begin a picture, and its size; sides beyond 4096 pixels need not be told
/// exactly. Nothing is decoded; the first 4 KiB of a file usually do.
[[nodiscard]] std::optional<QSize> pictureSize(const QByteArray &head);

/// Whether a picture of that size is shown: up to 4096 x 4096 pixels.
[[nodiscard]] bool isShowable(QSize size);
