#include "download/KeptDownloads.h"

void KeptDownloads::keep(const DownloadRequest &request, const PartialDownload &whole)
{
    m_files.insert(request.target, {request.url, whole});
}

std::optional<PartialDownload> KeptDownloads::find(const DownloadRequest &request) const
{
    const auto kept = m_files.constFind(request.target);
    if (kept == m_files.constEnd() || kept->url != request.url)
        return std::nullopt;
    const bool isInUse = kept->whole.file.use_count() > 1; // by a service that still tries
    const bool fits = request.expectedSize < 0 || request.expectedSize == kept->whole.total;
    return fits && !isInUse ? std::optional(kept->whole) : std::nullopt;
}
