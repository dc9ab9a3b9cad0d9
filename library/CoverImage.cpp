#include "library/CoverImage.h"

#include "platform/Bundle.h"

#include <QBuffer>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>

namespace {

constexpr int longestSide = 4096;

/// The size in a PNG's first block, where it always stands: a library's covers are PNGs, and the
/// general reader takes longer over one than everything else that is done with its title.
std::optional<QSize> pngSize(const QByteArray &head)
{
    static const QByteArray beginning("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16);
    if (head.size() < beginning.size() + 8 || !head.startsWith(beginning))
        return std::nullopt;
    const char *sides = head.constData() + beginning.size();
    const auto width = qFromBigEndian<quint32>(sides);
    const auto height = qFromBigEndian<quint32>(sides + 4);
    constexpr quint32 most = longestSide + 1; // no larger value is told apart
    return QSize(static_cast<int>(std::min(width, most)), static_cast<int>(std::min(height, most)));
}

QSize readSize(QByteArray head)
{
    QBuffer buffer(&head);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    return reader.size();
}

} // namespace

CoverImage dummyCover()
{
    return {Bundle::imagePath(QStringLiteral("dummy_book")).value_or(QString()), {}, 0, 0};
}

std::optional<QSize> pictureSize(const QByteArray &head)
{
    const std::optional<QSize> png = pngSize(head);
    const QSize size = png ? *png : readSize(head);
    return size.isEmpty() ? std::nullopt : std::optional(size);
}

bool isShowable(QSize size)
{
    return std::max(size.width(), size.height()) <= longestSide;
}
