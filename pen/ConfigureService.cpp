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
    const auto lines = settings ? FileService::getFileLines(*settings) : std::nullopt;
    return versions(lines.value_or(QStringList()));
}

VersionTexts ConfigureService::versionTexts()
{
    if (!UsbService::isQuilloConnected())
        return {};
    const PenVersions versions = versionsOnPen();
    return {versionText(versions.firmware), versionText(versions.image)};
}
