#include "pen/UsbService.h"

#include "base/ApplicationLog.h"
#include "pen/FileService.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/FileManager.h"
#include "platform/StandardOutput.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

std::optional<PenPlaces> penWithSettings()
{
    writeLog(u"isQuilloConnected vor getSettingsFileURL"_s);
    const std::optional<PenPlaces> pen = PenPlaces::lookForSettings();
    if (!pen) {
        writeLog(u"isQuilloConnected getSettingsFileURL failed"_s);
        return std::nullopt;
    }
    writeLog(u"isQuilloConnected vor filesExists (settingsFile URL)"_s);
    if (!FileManager::fileExists(pathOf(pen->settingsFile()))) {
        writeLog(u"isQuilloConnected fileExists (settingsFileURL) failed"_s);
        return std::nullopt;
    }
    writeLog(u"isQuilloConnected vor getFileContent (settingsFileURL)"_s);
    const std::optional<QString> content = FileService::getFileContent(pen->settingsFile());
    if (!content || content->isEmpty()) {
        writeLog(u"isQuilloConnected getFileContent (settingsFileURL) failed"_s);
        return std::nullopt;
    }
    return pen;
}

} // namespace

bool UsbService::isQuilloConnected()
{
    return connectedPen().has_value();
}

std::optional<PenPlaces> UsbService::connectedPen()
{
    writeLog(u"isQuilloConnected Beginn"_s);
    const std::optional<PenPlaces> pen = penWithSettings();
    if (pen)
        debugPrint(u"Quillo is connected."_s);
    writeLog(u"isQuilloConnected Ende"_s);
    return pen;
}

std::optional<QString> UsbService::getQuilloName()
{
    const std::optional<QUrl> root = URLFactory::getQuilloURL();
    if (!root)
        return std::nullopt;
    QStringList pieces = root->toString(QUrl::FullyEncoded).split(u'/');
    pieces.removeLast();
    if (pieces.isEmpty())
        return std::nullopt;
    return pieces.last();
}

bool UsbService::isMounted(const QString &quilloName)
{
    const QList<QUrl> volumes = FileManager::mountedVolumeURLs().value_or(QList<QUrl>());
    const QString end = u'/' + quilloName + u'/';
    return std::any_of(volumes.begin(), volumes.end(), [&end](const QUrl &volume) {
        return volume.toString(QUrl::FullyEncoded).endsWith(end);
    });
}

bool UsbService::canDeviceNameBeQuillo(const QString &name)
{
    const QString upper = name.toUpper();
    return std::any_of(URLFactory::volumeNames.begin(), URLFactory::volumeNames.end(),
                       [&upper](const QString &accepted) { return upper.contains(accepted); });
}
