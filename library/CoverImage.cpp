#include "library/CoverImage.h"

#include "platform/Bundle.h"

#include <QBuffer>
#include <QImageReader>

namespace {

constexpr int longestSide = 4096;

} // namespace

CoverImage dummyCover()
{
    return {Bundle::imagePath(QStringLiteral("dummy_book")).value_or(QString()), {}, 0, 0};
}

std::optional<QSize> pictureSize(const QByteArray &head)
{
    QByteArray bytes = head;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    const QSize size = reader.size();
    if (!size.isValid() || size.isEmpty() || size.width() > longestSide
        || size.height() > longestSide) {
        return std::nullopt;
    }
    return size;
}
