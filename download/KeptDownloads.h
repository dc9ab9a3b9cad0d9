#pragma once

#include "platform/URLTypes.h"

#include <QHash>
#include <QObject>

/// Files that came whole onto the computer but could not be placed on the pen: they wait for
/// another try while the program lives, one for each target. Main thread only.
class KeptDownloads : public QObject
{
    Q_OBJECT

public:
    void keep(const DownloadRequest &request, const PartialDownload &whole);

    /// What is kept of that address for that target, if it has the expected size and nobody uses
    /// it.
    [[nodiscard]] std::optional<PartialDownload> find(const DownloadRequest &request) const;

    void forget(const QString &target) { m_files.remove(target); }

private:
    struct File
    {
        QUrl url;
        PartialDownload whole;
    };

    QHash<QString, File> m_files; ///< by target
};
