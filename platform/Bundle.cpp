#include "platform/Bundle.h"

#include "platform/PropertyListReader.h"
#include "platform/StringTableReader.h"

#include <QFile>
#include <QFileInfo>
#include <QMutex>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumSize = 1024 * 1024;

QString &configurationFile()
{
    static QString file;
    return file;
}

/// A name is one plain segment: nothing may lead out of the folder it is looked for in.
bool isPlainName(const QString &name)
{
    return !name.isEmpty() && !name.startsWith(u'.') && !name.contains(u'/')
           && !name.contains(u'\\');
}

std::optional<QByteArray> content(const QString &path)
{
    QFile file(path);
    // A pipe or a device would block or never end.
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray bytes = file.read(maximumSize + 1);
    if (file.error() != QFileDevice::NoError || bytes.size() > maximumSize)
        return std::nullopt;
    return bytes;
}

QString userConfigurationPath(const QString &fileName)
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    return folder + u'/' + fileName;
}

/// The first that is there is taken, also when it turns out broken: falling back to the shipped
/// addresses would send a pen's data where the user did not want it.
QString propertyListPath(const QString &name)
{
    const QString fileName = name + u".plist"_s;
    if (name == "Url"_L1) {
        if (!configurationFile().isEmpty())
            return configurationFile();
        const QString own = userConfigurationPath(fileName);
        if (QFileInfo::exists(own))
            return own;
    }
    return u":/"_s + fileName;
}

std::optional<QString> resourcePath(const QString &folder, const QString &name,
                                    const QString &extension)
{
    const QString path = u":/%1/%2.%3"_s.arg(folder, name, extension);
    if (!isPlainName(name) || !QFile::exists(path))
        return std::nullopt;
    return path;
}

std::optional<QHash<QString, QString>> readStringTable(const QString &language)
{
    if (!isPlainName(language))
        return std::nullopt;
    const auto utf8 = content(u":/%1.lproj/Localizable.strings"_s.arg(language));
    return utf8 ? Bundle::parseStringTable(*utf8) : std::nullopt;
}

} // namespace

void Bundle::setConfigurationFile(const QString &path)
{
    configurationFile() = path;
}

QVariantMap Bundle::propertyList(const QString &name)
{
    if (!isPlainName(name))
        return {};
    const std::optional<QByteArray> xml = content(propertyListPath(name));
    return xml ? parsePropertyList(*xml).value_or(QVariantMap()) : QVariantMap();
}

std::optional<QHash<QString, QString>> Bundle::stringTable(const QString &language)
{
    static QMutex mutex;
    static QHash<QString, std::optional<QHash<QString, QString>>> tables;
    const QMutexLocker locker(&mutex);
    const auto known = tables.constFind(language);
    if (known != tables.cend())
        return *known;
    return *tables.insert(language, readStringTable(language));
}

std::optional<QString> Bundle::imagePath(const QString &name)
{
    return resourcePath(u"images"_s, name, u"svg"_s);
}

std::optional<QString> Bundle::soundPath(const QString &name)
{
    return resourcePath(u"sounds"_s, name, u"wav"_s);
}

std::optional<QVariantMap> Bundle::parsePropertyList(const QByteArray &xml)
{
    if (xml.size() > maximumSize)
        return std::nullopt;
    return PropertyListReader(xml).read();
}

std::optional<QHash<QString, QString>> Bundle::parseStringTable(const QByteArray &utf8)
{
    return StringTableReader(utf8).read();
}
