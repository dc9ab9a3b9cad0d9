#pragma once

#include "platform/URLTypes.h"

#include <QHash>
#include <QObject>

/// Files that came whole but could not be placed on the pen once the old one had made room: they
/// wait on the computer for another try while the program lives. Main thread only.
class KeptDownloads : public QObject
{
    Q_OBJECT

public:
    void keep(const DownloadRequest &request, const PartialDownload &whole);

    /// What is kept of that address for that target, if it still has the expected size.
    [[nodiscard]] std::optional<PartialDownload> find(const DownloadRequest &request) const;

    void forget(const QUrl &url) { m_files.remove(url); }

private:
    struct File
    {
        QString target;
        PartialDownload whole;
    };

    QHash<QUrl, File> m_files;
};
