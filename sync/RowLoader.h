#pragma once

#include "download/RowLoading.h"
#include "pen/PenPlaces.h"

#include <memory>

class DownloadFileService;
class VersionService;

/// Has each row of the queue loaded by who knows its address. Main thread only.
class RowLoader : public RowLoading
{
public:
    /// The service must outlive this one.
    RowLoader(DownloadFileService &downloadFileService, const PenPlaces &pen);
    ~RowLoader() override;

    void loadRow(const UpdateElement &row) override;
    void cancelAllRows() override;

    /// Another one after cancelAllRows(): a version the former still asks for starts nothing.
    [[nodiscard]] VersionService &versionService() const { return *m_versionService; }

private:
    DownloadFileService &m_downloadFileService;
    const PenPlaces m_pen;
    std::unique_ptr<VersionService> m_versionService;
};
