#include "tests/support/AudioFiles.h"

#include <QtEndian>

namespace {

constexpr quint32 sampleRate = 44'100;

QByteArray number(quint32 value)
{
    const quint32 bytes = qToBigEndian(value);
    return {reinterpret_cast<const char *>(&bytes), sizeof bytes};
}

QByteArray littleNumber(quint32 value)
{
    const quint32 bytes = qToLittleEndian(value);
    return {reinterpret_cast<const char *>(&bytes), sizeof bytes};
}

QByteArray frame(int bitRate, bool isPadded)
{
    static const QList<int> rates = {0,   32,  40,  48,  56,  64,  80, 96,
                                     112, 128, 160, 192, 224, 256, 320};
    QByteArray bytes(144'000 * bitRate / int(sampleRate) + (isPadded ? 1 : 0), '\0');
    bytes[0] = char(0xFF);
    bytes[1] = char(0xFB);
    bytes[2] = char(rates.indexOf(bitRate) << 4 | (isPadded ? 2 : 0));
    return bytes;
}

} // namespace

QByteArray safeNumber(qsizetype value)
{
    QByteArray bytes;
    for (int shift = 21; shift >= 0; shift -= 7)
        bytes += char(value >> shift & 0x7F);
    return bytes;
}

QByteArray mpegFrames(int count, const QList<int> &bitRates)
{
    QByteArray frames;
    quint32 rest = 0;
    for (int i = 0; i < count; ++i) {
        const int bitRate = bitRates.at(i % bitRates.size());
        rest += 144'000U * quint32(bitRate) % sampleRate;
        frames += frame(bitRate, rest >= sampleRate);
        rest %= sampleRate;
    }
    return frames;
}

QByteArray mpegHeader(const QByteArray &mark, quint32 frames, quint32 bytes)
{
    constexpr qsizetype place = 36;
    const QByteArray told = mark == "VBRI"
                                ? mark + QByteArray(6, '\0') + number(bytes) + number(frames)
                                : mark + number(3) + number(frames) + number(bytes);
    return frame(64, false).replace(place, told.size(), told);
}

QByteArray id3Frame(const QByteArray &id, const QByteArray &content, char flags)
{
    return id + number(quint32(content.size())) + '\0' + flags + content;
}

QByteArray id3v2(char version, const QByteArray &frames)
{
    return QByteArray("ID3") + version + QByteArray(2, '\0') + safeNumber(frames.size()) + frames;
}

QByteArray id3v1(const QByteArray &artist)
{
    return "TAG" + QByteArray(30, '\0') + artist.leftJustified(30, '\0') + QByteArray(65, '\0');
}

QByteArray riffChunk(const QByteArray &name, const QByteArray &content)
{
    return name + littleNumber(quint32(content.size())) + content
           + QByteArray(content.size() % 2, '\0');
}

QByteArray infoChunk(const QByteArray &artist)
{
    return riffChunk("LIST", "INFO" + riffChunk("IART", artist + '\0'));
}

QByteArray waveFile(quint32 byteRate, qsizetype bytes, const QByteArray &otherChunks)
{
    const QByteArray format = QByteArray("\1\0\1\0", 4) + littleNumber(byteRate)
                              + littleNumber(byteRate) + QByteArray("\1\0\10\0", 4);
    const QByteArray chunks = "WAVE" + riffChunk("fmt ", format) + otherChunks
                              + riffChunk("data", QByteArray(bytes, '\0'));
    return "RIFF" + littleNumber(quint32(chunks.size())) + chunks;
}
