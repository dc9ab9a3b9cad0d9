#include "demo/WaveFile.h"

#include <QtEndian>

#include <cmath>
#include <numbers>

namespace {

constexpr int sampleRate = 8000;
constexpr int samplesPerNote = sampleRate / 4;
constexpr int bytesPerSample = 2;

template <typename Number>
QByteArray littleEndian(Number number)
{
    QByteArray bytes(sizeof(Number), Qt::Uninitialized);
    qToLittleEndian(number, bytes.data());
    return bytes;
}

QByteArray chunk(const char *name, QByteArray data)
{
    const auto size = quint32(data.size());
    if (data.size() % 2 != 0)
        data += '\0';
    return QByteArray(name) + littleEndian(size) + data;
}

QByteArray format()
{
    return littleEndian<quint16>(1) + littleEndian<quint16>(1) // PCM, one channel
           + littleEndian<quint32>(sampleRate) + littleEndian<quint32>(sampleRate * bytesPerSample)
           + littleEndian<quint16>(bytesPerSample) + littleEndian<quint16>(bytesPerSample * 8);
}

QByteArray note(int halfTones)
{
    const double frequency = 440.0 * std::pow(2.0, halfTones / 12.0);
    QByteArray samples;
    for (int i = 0; i < samplesPerNote; ++i) {
        const double fade = 1.0 - double(i) / samplesPerNote;
        const double angle = 2 * std::numbers::pi * frequency * i / sampleRate;
        samples += littleEndian(qint16(9000 * fade * std::sin(angle)));
    }
    return samples;
}

} // namespace

QByteArray waveFile(const QString &title, const QString &artist, const QList<int> &notes)
{
    QByteArray samples;
    for (const int halfTones : notes)
        samples += note(halfTones);
    const QByteArray info =
        "INFO" + chunk("INAM", title.toUtf8() + '\0') + chunk("IART", artist.toUtf8() + '\0');
    return chunk("RIFF",
                 "WAVE" + chunk("fmt ", format()) + chunk("LIST", info) + chunk("data", samples));
}
