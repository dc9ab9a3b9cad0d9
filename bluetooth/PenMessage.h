#pragma once

#include <QByteArray>
#include <QString>

/// One notification of the pen. Byte 0 is its kind: 0xAA a piece of an address, followed by the
/// number of pieces, the piece's index from 0, and the piece in ASCII; 0xBB the pen has given up
/// sending an address; 0xCC the default video is to be shown.
struct PenMessage
{
    enum class Kind {
        TooShort, ///< for what it says it is, or of an address of no pieces
        Piece,
        GaveUp,
        DefaultVideo,
        Unknown
    };

    Kind kind = Kind::Unknown;
    QString piece = {};     ///< empty also when it is not ASCII
    bool lastPiece = false; ///< by its index alone

    [[nodiscard]] static PenMessage parse(const QByteArray &value);
};
