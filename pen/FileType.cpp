#include "pen/FileType.h"

QString name(FileType type)
{
    return fileExtension(type).sliced(1);
}

QString fileExtension(FileType type)
{
    switch (type) {
    case FileType::txt:
        return QStringLiteral(".txt");
    case FileType::png:
        return QStringLiteral(".png");
    case FileType::qnk:
        return QStringLiteral(".qnk");
    case FileType::ini:
        return QStringLiteral(".ini");
    case FileType::iso:
        return QStringLiteral(".iso");
    case FileType::bin:
        return QStringLiteral(".bin");
    }
    Q_UNREACHABLE();
}
