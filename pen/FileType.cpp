#include "pen/FileType.h"

QString name(FileType type)
{
    switch (type) {
    case FileType::txt:
        return QStringLiteral("txt");
    case FileType::png:
        return QStringLiteral("png");
    case FileType::qnk:
        return QStringLiteral("qnk");
    case FileType::ini:
        return QStringLiteral("ini");
    case FileType::iso:
        return QStringLiteral("iso");
    case FileType::bin:
        return QStringLiteral("bin");
    }
    Q_UNREACHABLE();
}

QString fileExtension(FileType type)
{
    return QLatin1Char('.') + name(type);
}
