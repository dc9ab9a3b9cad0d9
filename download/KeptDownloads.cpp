#include "download/KeptDownloads.h"

void KeptDownloads::keep(const DownloadRequest &request, const PartialDownload &whole)
{
    m_files.insert(request.url, {request.target, whole});
}

std::optional<PartialDownload> KeptDownloads::find(const DownloadRequest &request) const
{
    const File kept = m_files.value(request.url);
    const bool fits = kept.target == request.target
                      && (request.expectedSize < 0 || request.expectedSize == kept.whole.total);
    return kept.whole.file && fits ? std::optional(kept.whole) : std::nullopt;
}
