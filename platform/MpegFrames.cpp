#include "platform/MpegFrames.h"

#include "platform/FileBytes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>

namespace {

constexpr qint64 headerLength = 4;
constexpr qint64 shortestFrame = 24;
constexpr int certainFrames = 3;                           ///< in a row are no accident
constexpr qint64 farthestBegin = 1024 * 1024;              ///< of the first frame
constexpr qint64 smallAudio = 64 * 1024;                   ///< is counted at once
constexpr qint64 countedAudio = qint64(256) * 1024 * 1024; ///< beyond it the average stands
constexpr qint64 countingPiece = 128 * 1024;

struct Frame
{
    quint32 kind = 0;   ///< what all frames of a file share: version, layer, sample rate
    int bitRate = 0;    ///< kbit/s
    int sampleRate = 0; ///< 1/s
    int samples = 0;
    int slot = 1; ///< bytes
    bool isPadded = false;
    int sideInformation = 0; ///< bytes between the header and what an encoder says of the file

    /// On the average, with its share of padding.
    [[nodiscard]] double averageLength() const
    {
        return samples / 8.0 * bitRate * 1000 / sampleRate;
    }
    [[nodiscard]] int length() const
    {
        const int slots = samples / 8 / slot * bitRate * 1000 / sampleRate;
        return (slots + (isPadded ? 1 : 0)) * slot;
    }
};

/// In kbit/s by the header's index; 0 for what none tells.
int bitRateOf(bool isFirstVersion, int layer, quint32 index)
{
    using Rates = std::array<int, 16>;
    constexpr Rates one1 = {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
    constexpr Rates one2 = {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
    constexpr Rates one3 = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
    constexpr Rates two1 = {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
    constexpr Rates two23 = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
    if (!isFirstVersion)
        return layer == 1 ? two1.at(index) : two23.at(index);
    return layer == 1 ? one1.at(index) : layer == 2 ? one2.at(index) : one3.at(index);
}

int samplesOf(bool isFirstVersion, int layer)
{
    if (layer == 1)
        return 384;
    return layer == 3 && !isFirstVersion ? 576 : 1152;
}

std::optional<Frame> frameIn(const uchar *bytes)
{
    constexpr std::array sampleRates = {44100, 48000, 32000};
    constexpr quint32 kindBits = 0xFFFE0C00;
    const quint32 header = bytes ? bigEndian(bytes) : 0;
    const quint32 version = header >> 19 & 3;
    const int layer = 4 - int(header >> 17 & 3);
    const quint32 rate = header >> 10 & 3;
    if (header >> 21 != 0x7FF || version == 1 || layer == 4 || rate == 3)
        return std::nullopt;
    const bool isFirst = version == 3;
    const bool isMono = (header >> 6 & 3) == 3;
    Frame frame;
    frame.kind = header & kindBits;
    frame.bitRate = bitRateOf(isFirst, layer, header >> 12 & 15);
    frame.sampleRate = sampleRates.at(rate) / (isFirst ? 1 : version == 2 ? 2 : 4);
    frame.samples = samplesOf(isFirst, layer);
    frame.slot = layer == 1 ? 4 : 1;
    frame.isPadded = (header >> 9 & 1) == 1;
    frame.sideInformation = isFirst ? (isMono ? 17 : 32) : (isMono ? 9 : 17);
    return frame.bitRate > 0 ? std::optional(frame) : std::nullopt;
}

/// The audio of a file: frames of one kind between two offsets.
class MpegAudio
{
public:
    MpegAudio(FileBytes &bytes, qint64 begin, qint64 end)
        : m_bytes(bytes)
        , m_begin(begin)
        , m_end(end)
    {
    }

    [[nodiscard]] double seconds();

private:
    [[nodiscard]] std::optional<Frame> frameAt(qint64 offset);
    [[nodiscard]] bool areFrames(qint64 offset, int count);
    [[nodiscard]] qint64 find(qint64 from, qint64 until, int certain);
    [[nodiscard]] qint64 fileHeader();
    [[nodiscard]] std::optional<double> promised(qint64 header);
    [[nodiscard]] double averageLength();
    [[nodiscard]] bool isFrameNear(qint64 offset);
    [[nodiscard]] std::optional<double> calculated();
    [[nodiscard]] double counted();

    FileBytes &m_bytes;
    qint64 m_begin;
    qint64 m_end;
    std::optional<Frame> m_first;
};

std::optional<Frame> MpegAudio::frameAt(qint64 offset)
{
    if (offset > m_end - headerLength)
        return std::nullopt;
    const std::optional<Frame> frame = frameIn(m_bytes.at(offset, headerLength));
    return !m_first || (frame && frame->kind == m_first->kind) ? frame : std::nullopt;
}

/// Whether that many frames of one kind follow each other, or those that the file still has.
bool MpegAudio::areFrames(qint64 offset, int count)
{
    std::optional<quint32> kind;
    for (int i = 0; i < count; ++i) {
        const std::optional<Frame> frame = frameAt(offset);
        if (!frame || (kind && frame->kind != *kind))
            return offset == m_end && i > 0;
        kind = frame->kind;
        offset += frame->length();
        if (offset > m_end - headerLength && i > 0)
            return true;
    }
    return true;
}

/// `until` when there is none before it.
qint64 MpegAudio::find(qint64 from, qint64 until, int certain)
{
    if (from < until && areFrames(from, certain))
        return from;
    m_bytes.setPiece(countingPiece);
    for (qint64 offset = from + 1; offset < until; ++offset) {
        const uchar *byte = m_bytes.at(offset, 1);
        if (!byte)
            return until;
        if (*byte == 0xFF && areFrames(offset, certain))
            return offset;
    }
    return until;
}

/// Where the first frame says something of the whole file instead of having sound; 0 without.
qint64 MpegAudio::fileHeader()
{
    constexpr qint64 longest = 18;
    constexpr qint64 checkSum = 2;
    constexpr qint64 afterLongestSideInformation = 32;
    const qint64 side = m_begin + headerLength + m_first->sideInformation;
    for (const qint64 offset :
         {side, side + checkSum, m_begin + headerLength + afterLongestSideInformation}) {
        const uchar *bytes = m_bytes.at(offset, longest);
        if (bytes
            && (std::memcmp(bytes, "Xing", 4) == 0 || std::memcmp(bytes, "Info", 4) == 0
                || std::memcmp(bytes, "VBRI", 4) == 0))
            return offset;
    }
    return 0;
}

/// Absent when the file is not as long as its header tells.
std::optional<double> MpegAudio::promised(qint64 header)
{
    constexpr quint32 both = 3;
    const uchar *bytes = m_bytes.at(header, 18);
    const bool isVbri = bytes && bytes[0] == 'V';
    if (!bytes || (!isVbri && (bigEndian(bytes + 4) & both) != both))
        return std::nullopt;
    const qint64 frames = bigEndian(bytes + (isVbri ? 14 : 8));
    const qint64 length = bigEndian(bytes + (isVbri ? 10 : 12));
    if (frames == 0 || frames > length / shortestFrame
        || std::abs(m_end - m_begin - length) > 2 * m_first->length())
        return std::nullopt;
    return double(frames) * m_first->samples / m_first->sampleRate;
}

/// Of the frames at the beginning; 0 when they are not of one bit rate.
double MpegAudio::averageLength()
{
    constexpr int frames = 12;
    bool isPadded = false;
    qint64 offset = m_begin;
    for (int i = 0; i < frames; ++i) {
        const std::optional<Frame> frame = frameAt(offset);
        if (!frame || frame->bitRate != m_first->bitRate)
            return 0;
        isPadded |= frame->isPadded;
        offset += frame->length();
    }
    const double average = m_first->averageLength();
    return isPadded ? average : std::floor(average);
}

bool MpegAudio::isFrameNear(qint64 offset)
{
    constexpr qint64 tolerance = 2;
    for (qint64 near = offset - tolerance; near <= offset + tolerance; ++near) {
        const std::optional<Frame> frame = frameAt(near);
        if (frame && frame->bitRate == m_first->bitRate)
            return true;
    }
    return false;
}

/// Absent unless frames of one bit rate stand wherever they should if all were.
std::optional<double> MpegAudio::calculated()
{
    const double average = averageLength();
    if (average <= 0)
        return std::nullopt;
    const auto frames = qint64(double(m_end - m_begin + m_first->slot) / average); // unpadded last
    for (const qint64 frame : {frames / 4, frames / 2, frames / 4 * 3, frames - 1}) {
        if (!isFrameNear(m_begin + qint64(double(frame) * average)))
            return std::nullopt;
    }
    return double(frames) * m_first->samples / m_first->sampleRate;
}

double MpegAudio::counted()
{
    m_bytes.setPiece(countingPiece);
    const qint64 until = std::min(m_end, m_begin + countedAudio);
    qint64 frames = 0;
    qint64 offset = m_begin;
    while (offset < until) {
        const std::optional<Frame> frame = frameAt(offset);
        if (!frame) {
            offset = find(offset + 1, until, certainFrames - 1);
            continue;
        }
        offset += frame->length();
        frames += offset <= m_end ? 1 : 0;
    }
    const double share = until < m_end ? double(m_end - m_begin) / double(until - m_begin) : 1;
    return double(frames) * share * m_first->samples / m_first->sampleRate;
}

double MpegAudio::seconds()
{
    const qint64 until = std::min(m_end, m_begin + farthestBegin);
    m_begin = find(m_begin, until, certainFrames);
    if (m_begin == until)
        return 0;
    m_first = frameAt(m_begin);
    if (const qint64 header = fileHeader(); header > 0) {
        if (const std::optional<double> seconds = promised(header))
            return *seconds;
        m_begin += m_first->length();
    }
    if (m_end - m_begin > smallAudio) {
        if (const std::optional<double> seconds = calculated())
            return *seconds;
    }
    return counted();
}

} // namespace

double mpegDuration(FileBytes &bytes, qint64 begin, qint64 end)
{
    return MpegAudio(bytes, begin, end).seconds();
}
