#pragma once

#include "library/DownloadQueue.h"
#include "pen/PenPlaces.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <optional>
#include <stop_token>

class DownloadFileService;

/// Compares the pen's system software with the published one, queues what is newer and downloads
/// it. Main thread only; a request that fails counts as up to date.
class VersionService : public QObject
{
    Q_OBJECT

public:
    /// For the software of that pen. The service must outlive this one.
    VersionService(DownloadFileService &downloadFileService, const PenPlaces &pen);

    /// Both checks; `completion` gets whether at least one piece needs an update. Once `stop` is
    /// requested nothing is queued any more.
    void perform(std::function<void(bool needed)> completion, std::stop_token stop = {});

    /// Loads the published system image, or firmware, into the pen's configure folder. The row is
    /// given up when its version cannot be asked for. `completion` may be empty.
    void downloadImage(const UpdateElement &row, std::function<void(bool success)> completion);
    void downloadFirmware(const UpdateElement &row, std::function<void(bool success)> completion);

    [[nodiscard]] qint64 imageIsoVersionLocal() const { return m_imageIsoVersionLocal; }
    [[nodiscard]] qint64 firmwareVersionLocal() const { return m_firmwareVersionLocal; }
    [[nodiscard]] qint64 imageIsoVersionRemote() const { return m_imageIsoVersionRemote; }

    /// Reads the pen's settings; a version that they do not name is -1.
    void readLocalVersions();
    /// Deletes the system image files that are not newer than the installed image.
    void removeStaleImageFiles();

private:
    struct Software;

    using VersionHandler = std::function<void(const std::optional<QString> &version)>;

    void checkFirmware(std::function<void(bool upToDate)> completion);
    void checkImage(std::function<void(bool upToDate)> completion);
    void check(const Software &software, std::function<void(bool upToDate)> completion);
    void queueSoftware(const Software &software, const QString &version,
                       std::function<void(bool upToDate)> completion);
    void downloadSoftware(const Software &software, std::function<void(bool success)> completion);
    void fetchVersion(const QString &addressKey, VersionHandler completion);

    DownloadFileService &m_downloadFileService;
    const PenPlaces m_pen;
    std::stop_token m_stop; ///< of the latest perform()
    qint64 m_imageIsoVersionLocal = -1;
    qint64 m_firmwareVersionLocal = -1;
    qint64 m_imageIsoVersionRemote = 0;
    std::optional<CoverImage> m_updateImage;
};
