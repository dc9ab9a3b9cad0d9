#pragma once

#include "platform/URLTypes.h"

#include <QHash>

/// Files that came whole but could not be placed on the pen once the old one had made room: they
/// wait on the computer for another try while the program lives. Main thread only.
class KeptDownloads
{
public:
    void keep(const DownloadRequest &request, const PartialDownload &whole)
    {
        m_files.insert(request.url, {request.target, whole});
    }

    /// What was kept of that address for that target, if it still has the expected size.
    [[nodiscard]] std::optional<PartialDownload> take(const DownloadRequest &request)
    {
        const File kept = m_files.take(request.url);
        const bool fits = kept.target == request.target
                          && (request.expectedSize < 0 || request.expectedSize == kept.whole.total);
        return kept.whole.file && fits ? std::optional(kept.whole) : std::nullopt;
    }

private:
    struct File
    {
        QString target;
        PartialDownload whole;
    };

    QHash<QUrl, File> m_files;
};
