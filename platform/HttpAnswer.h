#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

class QUrl;
struct URLResponse;

// What the header of an answer says about the body behind it.

/// Sizes beyond this are no sizes of files on a pen.
constexpr qint64 largestFile = qint64(1) << 40;

/// How the end of the body is told.
struct BodyLength
{
    enum class Told {
        ByLength,
        ByChunks,
        Not,       ///< it ends with the connection, wherever that breaks
        ByNonsense ///< a length that is none
    };

    Told told = Told::Not;
    qint64 bytes = -1; ///< for ByLength

    [[nodiscard]] static BodyLength of(const URLResponse &response);
};

struct ContentRange
{
    qint64 start;
    qint64 end;   ///< the last byte
    qint64 total; ///< -1 for "*"

    /// Of a header "bytes START-END/TOTAL".
    [[nodiscard]] static std::optional<ContentRange> parse(const QByteArray &header);
};

/// The strong ETag, else the Last-Modified date, else empty.
[[nodiscard]] QByteArray validatorOf(const URLResponse &response);

/// Why this 206 answer must not be appended to `bytes` bytes of that version of a file of `total`
/// bytes (-1 when not known); empty when it fits.
[[nodiscard]] QString objectionToPart(const URLResponse &response, const QByteArray &validator,
                                      qint64 bytes, qint64 total);

/// Only these addresses are ever asked.
[[nodiscard]] bool isWebAddress(const QUrl &url);
