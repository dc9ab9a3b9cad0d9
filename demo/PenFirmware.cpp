#include "demo/PenFirmware.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// Removes the files of that name and number; the greatest number, absent without file.
std::optional<int> takeFiles(const QDir &configure, const QString &prefix, const QString &extension)
{
    const QRegularExpression numbered(u'^' + prefix + u"(\\d{1,9})\\."_s + extension + u'$');
    std::optional<int> newest;
    const QStringList names = configure.entryList(QDir::Files);
    for (const QString &name : names) {
        const QRegularExpressionMatch match = numbered.match(name);
        if (match.hasMatch() && QFile::remove(configure.filePath(name)))
            newest = std::max(newest.value_or(0), match.captured(1).toInt());
    }
    return newest;
}

void replaceValue(QByteArray &settings, const QByteArray &key, std::optional<int> value)
{
    if (!value)
        return;
    QList<QByteArray> lines = settings.split('\n');
    for (QByteArray &line : lines) {
        if (line.startsWith(key + '='))
            line = key + '=' + QByteArray::number(*value);
    }
    settings = lines.join('\n');
}

} // namespace

void installSystemSoftware(const QString &penFolder)
{
    const QDir configure(penFolder + u"/configure"_s);
    QFile file(configure.filePath(u"settings.ini"_s));
    if (!file.open(QIODevice::ReadWrite))
        return;
    QByteArray settings = file.readAll();
    replaceValue(settings, "firmwareVersion", takeFiles(configure, u"firmwareV"_s, u"bin"_s));
    replaceValue(settings, "ImageVersion", takeFiles(configure, u"imageisoV"_s, u"iso"_s));
    file.resize(0);
    file.seek(0);
    file.write(settings);
}
