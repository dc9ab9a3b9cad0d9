#include "sync/RowLoader.h"

#include "download/DownloadFileService.h"
#include "sync/ElementUpdateService.h"
#include "sync/VersionService.h"

RowLoader::RowLoader(DownloadFileService &downloadFileService, const PenPlaces &pen)
    : m_downloadFileService(downloadFileService)
    , m_pen(pen)
    , m_versionService(std::make_unique<VersionService>(downloadFileService, pen))
{
}

RowLoader::~RowLoader() = default;

void RowLoader::loadRow(const UpdateElement &row)
{
    if (row.updateFileType == UpdateFileType::iso)
        m_versionService->downloadImage(row, {});
    else if (row.updateFileType == UpdateFileType::bin)
        m_versionService->downloadFirmware(row, {});
    else
        ElementUpdateService::downloadTitleContent(row.publisherId, row.mid, row.bookVersion,
                                                   row.elementId, m_downloadFileService, row,
                                                   m_pen);
}

void RowLoader::cancelAllRows()
{
    m_downloadFileService.cancelAllDownloads();
    m_versionService = std::make_unique<VersionService>(m_downloadFileService, m_pen);
}
