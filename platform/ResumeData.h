#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

struct URLResponse;

/// What is needed to go on with a transfer that failed: where its bytes are and which version of
/// the file they belong to.
struct ResumeData
{
    QUrl url;
    QByteArray validator; ///< a strong ETag or a Last-Modified date, for If-Range
    QString file;         ///< the partial file
    qint64 bytes = 0;     ///< in it
    qint64 total = -1;    ///< what the first attempt announced; -1 when it did not

    [[nodiscard]] QByteArray serialized() const;
    /// Absent for anything that serialized() has not made.
    [[nodiscard]] static std::optional<ResumeData> parse(const QByteArray &data);

    /// Why this 206 answer must not be appended to the bytes; empty when it fits.
    [[nodiscard]] QString objectionTo(const URLResponse &response) const;
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

/// The length the answer announces for its own body; -1 when it does not.
[[nodiscard]] qint64 announcedLength(const URLResponse &response);

/// Only these addresses are ever asked.
[[nodiscard]] bool isWebAddress(const QUrl &url);
