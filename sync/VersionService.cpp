#include "sync/VersionService.h"

#include "download/DownloadFileService.h"
#include "pen/ConfigureService.h"
#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/Bundle.h"
#include "platform/Dispatch.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/RequestAddresses.h"

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;

/// One piece of the pen's system software.
struct VersionService::Software
{
    UpdateFileType kind;
    QString name;          ///< in the lines of its check
    bool isAlwaysCompared; ///< in a line, not only when the published one is newer
    qint64 VersionService::*localVersion;
    QString versionKey; ///< of the configuration
    QString localFileName;
    QString extension;
    QString failure; ///< what a failed transfer prints

    [[nodiscard]] QString fileName(const QString &version) const
    {
        return localFileName + version + extension;
    }

    static const Software &image()
    {
        static const Software software = {UpdateFileType::iso,
                                          u"iso-file"_s,
                                          false,
                                          &VersionService::m_imageIsoVersionLocal,
                                          URLFactory::mediaServerImageIsoVersionKey,
                                          u"imageisoV"_s,
                                          u".iso"_s,
                                          u"Failed to download image ISO."_s};
        return software;
    }

    static const Software &firmware()
    {
        static const Software software = {UpdateFileType::bin,
                                          u"firmware-file"_s,
                                          true,
                                          &VersionService::m_firmwareVersionLocal,
                                          URLFactory::mediaServerFirmwareVersionKey,
                                          u"firmwareV"_s,
                                          u".bin"_s,
                                          u"Error while downloading firmware file."_s};
        return software;
    }
};

namespace {

const QString &rowTitle()
{
    static const QString title = u"Systemsoftware"_s;
    return title;
}

std::optional<CoverImage> loadUpdateImage()
{
    const std::optional<QString> path = Bundle::imagePath(u"Firmware_icon"_s);
    if (path)
        return CoverImage{*path, {}, 0, 0};
    debugPrint(u"Could not find update image; it will be missing in the UI. Make sure all assets "
               u"are there."_s);
    return std::nullopt;
}

/// All decimal digits of the name as one number; absent for a name without digits.
std::optional<qint64> digitsOf(const QString &name)
{
    QString digits;
    std::copy_if(name.begin(), name.end(), std::back_inserter(digits),
                 [](QChar character) { return character >= u'0' && character <= u'9'; });
    return digits.isEmpty() ? std::nullopt : decimalInteger(digits);
}

} // namespace

VersionService::VersionService(DownloadFileService &downloadFileService, const PenPlaces &pen)
    : m_downloadFileService(downloadFileService)
    , m_pen(pen)
    , m_updateImage(loadUpdateImage())
{
}

void VersionService::perform(std::function<void(bool needed)> completion, std::stop_token stop)
{
    m_stop = std::move(stop);
    readLocalVersions();
    removeStaleImageFiles();
    DispatchGroup group;
    const auto needed = std::make_shared<bool>(false);
    const auto checked = [group, needed](bool upToDate) mutable {
        *needed = *needed || !upToDate;
        group.leave();
    };
    group.enter();
    checkFirmware(checked);
    group.enter();
    checkImage(checked);
    group.notify(this, [needed, completion = std::move(completion)] { completion(*needed); });
}

void VersionService::readLocalVersions()
{
    const PenVersions versions = ConfigureService::versionsOnPen();
    m_firmwareVersionLocal = versions.firmware.value_or(-1);
    m_imageIsoVersionLocal = versions.image.value_or(-1);
}

void VersionService::removeStaleImageFiles()
{
    const QUrl folder = m_pen.configure();
    const QStringList names = FileService::listFiles(folder, fileExtension(FileType::iso));
    for (const QString &name : names) {
        const std::optional<qint64> version = digitsOf(name);
        if (version && *version <= m_imageIsoVersionLocal)
            FileService::deleteFile(URLFactory::fileURL(folder, name));
    }
}

void VersionService::checkFirmware(std::function<void(bool upToDate)> completion)
{
    check(Software::firmware(), std::move(completion));
}

void VersionService::checkImage(std::function<void(bool upToDate)> completion)
{
    check(Software::image(), std::move(completion));
}

void VersionService::check(const Software &software, std::function<void(bool upToDate)> completion)
{
    const auto answered = [this, &software, completion](const std::optional<QString> &version) {
        if (!version)
            return completion(true);
        const qint64 remote = decimalInteger(*version).value_or(-1);
        if (software.kind == UpdateFileType::iso)
            m_imageIsoVersionRemote = remote;
        const qint64 local = this->*software.localVersion;
        const bool isNewer = local < remote;
        if (isNewer || software.isAlwaysCompared)
            debugPrint(software.name + u" remoteversion "_s + QString::number(remote)
                       + u" > localversion "_s + QString::number(local) + u" ?"_s);
        if (isNewer)
            return queueSoftware(software, *version, completion);
        debugPrint(software.name + u" up to date"_s);
        completion(true);
    };
    fetchVersion(software.versionKey, answered);
}

void VersionService::queueSoftware(const Software &software, const QString &version,
                                   std::function<void(bool upToDate)> completion)
{
    const std::optional<QString> address = softwareAddress(software.fileName(version));
    if (!address || m_stop.stop_requested())
        return completion(false);
    UpdateElement row;
    row.bookVersion = version;
    row.title = rowTitle();
    row.image = m_updateImage;
    row.updateFileType = software.kind;
    row.updateURLString = *address;
    const QPointer<VersionService> guard(this);
    const auto sized = [guard, row, completion,
                        stop = m_stop](std::optional<qint64> length) mutable {
        if (!guard)
            return;
        if (length && !stop.stop_requested()) {
            row.contentLength = *length;
            totalBytesToDownload() += *length;
            updateElements().append(row);
        }
        completion(false);
    };
    m_downloadFileService.getContentLength(*address, sized);
}

void VersionService::downloadImage(const UpdateElement &, std::function<void(bool)> completion)
{
    downloadSoftware(Software::image(), std::move(completion));
}

void VersionService::downloadFirmware(const UpdateElement &, std::function<void(bool)> completion)
{
    downloadSoftware(Software::firmware(), std::move(completion));
}

/// The version is asked for anew, so that the row gets what is published now.
void VersionService::downloadSoftware(const Software &software,
                                      std::function<void(bool success)> completion)
{
    const auto told = [&software, completion](bool success) {
        if (!success)
            print(software.failure);
        if (completion)
            completion(success);
    };
    fetchVersion(software.versionKey, [this, &software,
                                       told](const std::optional<QString> &version) {
        const QString fileName = software.fileName(version.value_or(QString()));
        const std::optional<QString> address = softwareAddress(fileName);
        if (!version || version->isEmpty() || !isSafeFileName(fileName) || !address
            || !makeURL(*address)) {
            debugPrint(u"No usable address for "_s + fileName);
            told(false);
            m_downloadFileService.skipRow();
            return;
        }
        m_downloadFileService.download(*address, m_pen.configure(), fileName, software.kind, told);
    });
}

void VersionService::fetchVersion(const QString &addressKey, VersionHandler completion)
{
    const std::optional<QUrl> url = configuredURL(addressKey);
    const QPointer<QObject> guard(this);
    if (!url) {
        Dispatch::main(guard, [completion] { completion(std::nullopt); });
        return;
    }
    URLRequest request;
    request.url = *url;
    sharedSession().dataTask(request, [guard, completion](const DataTaskResult &result) {
        std::optional<QString> version;
        if (result.isSuccess())
            version = decodeUtf8(result.data);
        else
            print(result.failure());
        Dispatch::main(guard, [completion, version] { completion(version); });
    });
}
