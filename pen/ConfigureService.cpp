#include "pen/ConfigureService.h"

#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"

using namespace Qt::StringLiterals;

const QString ConfigureService::firmwareVersionKey = u"firmwareVersion"_s;
const QString ConfigureService::imageVersionKey = u"ImageVersion"_s;

namespace {

void readVersion(const QString &line, std::optional<qint64> &version)
{
    const QString value = valueAfter(line, u'=').value_or(QString()).remove(QChar(u'\0'));
    if (const std::optional<qint64> number = decimalInteger(value))
        version = number;
}

PenVersions versionsIn(const QUrl &settings)
{
    return ConfigureService::versions(FileService::getFileLines(settings).value_or(QStringList()));
}

QString versionText(const std::optional<qint64> &version)
{
    return version ? QString::number(*version) : QString();
}

} // namespace

PenVersions ConfigureService::versions(const QStringList &lines)
{
    PenVersions versions;
    for (const QString &line : lines) {
        if (line.startsWith(firmwareVersionKey))
            readVersion(line, versions.firmware);
        else if (line.startsWith(imageVersionKey))
            readVersion(line, versions.image);
    }
    return versions;
}

PenVersions ConfigureService::versionsOnPen()
{
    const std::optional<QUrl> settings = URLFactory::getSettingsFileURL();
    return settings ? versionsIn(*settings) : PenVersions();
}

VersionTexts ConfigureService::versionTexts()
{
    const std::optional<PenPlaces> pen = UsbService::connectedPen();
    if (!pen)
        return {};
    const PenVersions versions = versionsIn(pen->settingsFile());
    return {versionText(versions.firmware), versionText(versions.image)};
}
