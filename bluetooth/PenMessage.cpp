#include "bluetooth/PenMessage.h"

#include <algorithm>

namespace {

constexpr int pieceHeader = 3; // kind, number of pieces, index

PenMessage parsePiece(const QByteArray &value)
{
    if (value.size() < pieceHeader || value.at(1) == 0)
        return {.kind = PenMessage::Kind::TooShort};
    const auto count = static_cast<uchar>(value.at(1));
    const auto index = static_cast<uchar>(value.at(2));
    const QByteArray piece = value.sliced(pieceHeader);
    const bool ascii =
        std::all_of(piece.begin(), piece.end(), [](char c) { return static_cast<uchar>(c) < 128; });
    return {.kind = PenMessage::Kind::Piece,
            .piece = ascii ? QString::fromLatin1(piece) : QString(),
            .lastPiece = index == count - 1};
}

} // namespace

PenMessage PenMessage::parse(const QByteArray &value)
{
    if (value.isEmpty())
        return {.kind = Kind::TooShort};
    switch (static_cast<uchar>(value.front())) {
    case 0xAA:
        return parsePiece(value);
    case 0xBB:
        return {.kind = Kind::GaveUp};
    case 0xCC:
        return {.kind = Kind::DefaultVideo};
    default:
        return {};
    }
}
