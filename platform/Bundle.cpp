#include "platform/Bundle.h"

#include "platform/StandardOutput.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutex>
#include <QStandardPaths>
#include <QXmlStreamReader>

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
    return !name.isEmpty() && !name.contains(u'/') && !name.contains(u'\\');
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

std::optional<Bundle::Texts> readStringTable(const QString &language)
{
    const QString folder = u":/%1.lproj"_s.arg(language);
    if (!isPlainName(language) || !QFileInfo(folder).isDir())
        return std::nullopt;
    const QByteArray json = content(folder + u"/Localizable.json"_s).value_or(QByteArray());
    const std::optional<Bundle::Texts> table = Bundle::parseStringTable(json);
    if (!table)
        debugPrint(u"No string table in "_s + folder);
    return table.value_or(Bundle::Texts());
}

/// The texts of a dictionary whose element has just begun; absent where keys and values do not
/// come in turn.
std::optional<Bundle::Texts> readDictionary(QXmlStreamReader &xml)
{
    Bundle::Texts texts;
    while (xml.readNextStartElement()) {
        const bool isKey = xml.name() == "key"_L1;
        const QString key = isKey ? xml.readElementText() : QString();
        if (!isKey || !xml.readNextStartElement() || xml.name() == "key"_L1)
            return std::nullopt;
        if (xml.name() == "string"_L1)
            texts.insert(key, xml.readElementText());
        else
            xml.skipCurrentElement();
    }
    return texts;
}

} // namespace

void Bundle::setConfigurationFile(const QString &path)
{
    configurationFile() = path;
}

Bundle::Texts Bundle::propertyList(const QString &name)
{
    if (!isPlainName(name))
        return {};
    const std::optional<QByteArray> xml = content(propertyListPath(name));
    return xml ? parsePropertyList(*xml).value_or(Texts()) : Texts();
}

std::optional<Bundle::Texts> Bundle::stringTable(const QString &language)
{
    static QMutex mutex;
    static QHash<QString, std::optional<Texts>> tables;
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

std::optional<Bundle::Texts> Bundle::parsePropertyList(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    std::optional<Texts> texts;
    if (reader.readNextStartElement() && reader.name() == "plist"_L1
        && reader.readNextStartElement() && reader.name() == "dict"_L1)
        texts = readDictionary(reader);
    if (reader.readNextStartElement())
        return std::nullopt; // more than one value at the top
    while (!reader.atEnd())
        reader.readNext();
    return reader.hasError() ? std::nullopt : texts;
}

std::optional<Bundle::Texts> Bundle::parseStringTable(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    Texts texts;
    const QJsonObject entries = document.object();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (entry->isString())
            texts.insert(entry.key(), entry->toString());
    }
    return texts;
}
