#include "pen/URLFactory.h"

#include "base/ApplicationLog.h"
#include "platform/Address.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

using namespace Qt::StringLiterals;

const QStringList URLFactory::volumeNames = {u"QUILLO"_s, u"QUILLO_DATA"_s, u"NO NAME"_s,
                                             u"NO%20NAME"_s};
const QString URLFactory::bookFolderName = u"book"_s;
const QString URLFactory::configureFolderName = u"configure"_s;
const QString URLFactory::musicFolderName = u"mp3"_s;

const QString URLFactory::mediaServerVersionsKey = u"MEDIA_SERVER_VERSIONS_URL"_s;
const QString URLFactory::mediaServerMediasKey = u"MEDIA_SERVER_MEDIAS_URL"_s;
const QString URLFactory::mediaServerImageIsoVersionKey = u"MEDIA_SERVER_IMAGE_ISO_VERSION_URL"_s;
const QString URLFactory::mediaServerFirmwareVersionKey = u"MEDIA_SERVER_FIRMWARE_VERSION_URL"_s;
const QString URLFactory::streamingServerFilesKey = u"STREAMING_SERVER_FILES_URL"_s;
const QString URLFactory::streamingServerSoftwareKey = u"STREAMING_SERVER_SOFTWARE_URL"_s;
const QString URLFactory::logPostKey = u"LOG_POST_URL"_s;
const QString URLFactory::shopKey = u"SHOP_URL"_s;
const QString URLFactory::dummyVideoKey = u"DUMMY_VIDEO_URL"_s;

namespace {

QString text(const QUrl &url)
{
    return url.toString(QUrl::FullyEncoded);
}

QString text(const std::optional<QList<QUrl>> &urls)
{
    if (!urls)
        return u"nil"_s;
    QStringList texts;
    for (const QUrl &url : *urls)
        texts += text(url);
    return u'[' + texts.join(u", "_s) + u']';
}

/// The path's pieces with "/" as the first.
QStringList pathComponents(const QUrl &url)
{
    return QStringList(u"/"_s) + url.path().split(u'/', Qt::SkipEmptyParts);
}

bool isPenVolume(const QStringList &components)
{
    return components.size() >= 3 && components.at(1) == u"Volumes"_s
           && URLFactory::volumeNames.contains(components.at(2));
}

std::optional<QUrl> folderAtRoot(const QString &name)
{
    const std::optional<QUrl> root = URLFactory::getQuilloURL();
    if (!root)
        return std::nullopt;
    return URLFactory::fileURL(*root, name + u'/');
}

std::optional<QUrl> configureFile(const QString &name, FileType type)
{
    const std::optional<QUrl> folder = URLFactory::getConfigureURL();
    if (!folder)
        return std::nullopt;
    return URLFactory::fileURL(*folder, URLFactory::fileName(name, type));
}

} // namespace

const QRegularExpression &URLFactory::midExpression()
{
    static const QRegularExpression expression(u"MID=(\\d{1,4})"_s);
    return expression;
}

std::optional<QUrl> URLFactory::getQuilloURL()
{
    writeLog(u"getQuilloURL Beginn"_s);
    const std::optional<QList<QUrl>> paths = FileManager::mountedVolumeURLs();
    writeLog(u"getQuilloURL paths "_s + text(paths));
    for (const QUrl &volume : paths.value_or(QList<QUrl>())) {
        const QStringList components = pathComponents(volume);
        writeLog(u"getQuilloURL in for loop - current path components: "_s
                 + debugDescription(components));
        writeLog(u"getQuilloURL Quillo URL = "_s + text(volume));
        if (isPenVolume(components)) {
            writeLog(u"getQuilloURL Ende"_s);
            return volume;
        }
    }
    writeLog(u"getQuilloURL return nil"_s);
    writeLog(u"getQuilloURL Ende"_s);
    return std::nullopt;
}

std::optional<QUrl> URLFactory::getBookURL()
{
    return folderAtRoot(bookFolderName);
}

std::optional<QUrl> URLFactory::getConfigureURL()
{
    writeLog(u"in getConfigureURL"_s);
    return folderAtRoot(configureFolderName);
}

std::optional<QUrl> URLFactory::getSettingsFileURL()
{
    writeLog(u"in getSettingsFileURL"_s);
    return configureFile(u"settings"_s, FileType::ini);
}

std::optional<QUrl> URLFactory::getTbdFileURL()
{
    return configureFile(u"tbd"_s, FileType::txt);
}

std::optional<QUrl> URLFactory::getLogFileURL()
{
    return configureFile(u"log"_s, FileType::txt);
}

std::optional<QUrl> URLFactory::getMusicURL()
{
    return folderAtRoot(musicFolderName);
}

std::optional<QUrl> URLFactory::url(const QString &mid, FileType type)
{
    if (type != FileType::qnk && type != FileType::txt && type != FileType::png) {
        debugPrint(u"Invalid file type "_s + name(type) + u" supplied to url(mid:type:)"_s);
        return std::nullopt;
    }
    const std::optional<QUrl> folder = getBookURL();
    if (!folder)
        return std::nullopt;
    return fileURL(*folder, fileName(u'0' + mid + u"_en"_s, type));
}

QString URLFactory::fileName(const QString &name, FileType type)
{
    return name + fileExtension(type);
}

QUrl URLFactory::fileURL(const QUrl &folder, const QString &fileName)
{
    return urlOf(pathOf(folder) + fileName);
}

QHash<QString, QString> URLFactory::loadPropertyList(const QString &name)
{
    return Bundle::propertyList(name);
}

std::optional<QString> URLFactory::getServerValue(const QString &key)
{
    const QHash<QString, QString> values = loadPropertyList(u"Url"_s);
    const auto value = values.constFind(key);
    return value == values.cend() ? std::nullopt : std::optional(*value);
}

QString URLFactory::getVideoHTML(const QString &urlString)
{
    return uR"(<html><video controls="" autoplay="" src=")"_s + urlString
           + uR"(" type="video/mp4" width="100%"></video></html>)"_s;
}
