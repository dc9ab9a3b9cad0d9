#include "demo/PenCheck.h"

#include "demo/DemoCatalogue.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>

using namespace Qt::StringLiterals;

namespace {

PenFile fileOf(const QByteArray &data)
{
    return {data.size(), QCryptographicHash::hash(data, QCryptographicHash::Sha256)};
}

PenFile fileOf(const DemoContent &content)
{
    return {content.size(), content.sha256()};
}

PenFile readFile(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file))
        return {};
    return {file.size(), hash.result()};
}

QString describe(const QString &path, const PenFile &file)
{
    return u"%1 %2 bytes  sha256 %3"_s.arg(path, -26)
        .arg(file.size, 8)
        .arg(QString::fromLatin1(file.sha256.toHex().left(16)));
}

/// What the pen writes or keeps itself is not the servers' business.
bool isServersBusiness(const QString &path)
{
    return (path.startsWith(u"book/"_s) || path.startsWith(u"configure/"_s))
           && path != u"configure/settings.ini"_s;
}

} // namespace

PenFiles readPen(const QString &folder)
{
    PenFiles files;
    const QDir root(QFileInfo(folder).canonicalFilePath());
    QDirIterator entries(root.path(), QDir::Files | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        files.insert(root.relativeFilePath(path), readFile(path));
    }
    return files;
}

PenFiles expectedFiles(const DemoCatalogue &catalogue)
{
    PenFiles files;
    for (const DemoTitle &title : catalogue.titles()) {
        const QString base = u"book/"_s + title.id();
        const QString text = title.record(title.version).textFileContent();
        files.insert(base + u".txt"_s, fileOf(text.toUtf8()));
        files.insert(base + u".png"_s, fileOf(catalogue.cover(title)));
        files.insert(base + u".qnk"_s, fileOf(catalogue.content(title, title.version)));
    }
    files.insert(u"configure/"_s + DemoCatalogue::firmwareFileName(),
                 fileOf(DemoCatalogue::firmware()));
    files.insert(u"configure/"_s + DemoCatalogue::imageFileName(), fileOf(DemoCatalogue::image()));
    files.insert(u"configure/tbd.txt"_s, fileOf(QByteArray()));
    files.insert(u"configure/log.txt"_s, fileOf(QByteArray()));
    return files;
}

QStringList differences(const PenFiles &expected, const PenFiles &found)
{
    QStringList lines;
    for (auto file = expected.cbegin(); file != expected.cend(); ++file) {
        if (!found.contains(file.key()))
            lines += u"missing:   "_s + file.key();
        else if (found.value(file.key()) != file.value())
            lines += u"different: "_s + file.key();
    }
    for (auto file = found.cbegin(); file != found.cend(); ++file) {
        if (isServersBusiness(file.key()) && !expected.contains(file.key()))
            lines += u"left over: "_s + file.key();
    }
    return lines;
}

QStringList placedFiles(const PenFiles &before, const PenFiles &after)
{
    QStringList lines;
    for (auto file = after.cbegin(); file != after.cend(); ++file) {
        if (before.value(file.key()) != file.value())
            lines += describe(file.key(), file.value());
    }
    return lines;
}
