#pragma once

#include <QByteArray>
#include <QList>

// Audio files without a sound, made by hand.

/// Frames of MPEG 1, layer III, 44.1 kHz: 38 1/3 a second; of these bit rates in turn, in kbit/s.
/// Padded as an encoder would do it.
[[nodiscard]] QByteArray mpegFrames(int count, const QList<int> &bitRates = {128});

/// A frame that tells how many others and bytes the file has, by "Xing", "Info" or "VBRI".
[[nodiscard]] QByteArray mpegHeader(const QByteArray &mark, quint32 frames, quint32 bytes);

/// Seven bits a byte.
[[nodiscard]] QByteArray safeNumber(qsizetype value);
/// A frame of a tag, compressed or not; `flags` are the last byte of its header.
[[nodiscard]] QByteArray id3Frame(const QByteArray &id, const QByteArray &content, char flags = 0);
/// A tag of version 2.`version`; the lengths of its frames are below 128.
[[nodiscard]] QByteArray id3v2(char version, const QByteArray &frames);
[[nodiscard]] QByteArray id3v1(const QByteArray &artist);

[[nodiscard]] QByteArray riffChunk(const QByteArray &name, const QByteArray &content);
/// A WAV file of so many bytes of sound, `byteRate` of them a second.
[[nodiscard]] QByteArray waveFile(quint32 byteRate, qsizetype bytes,
                                  const QByteArray &otherChunks = {});
[[nodiscard]] QByteArray infoChunk(const QByteArray &artist);
