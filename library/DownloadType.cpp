#include "library/DownloadType.h"

QString rawValue(DownloadType type)
{
    switch (type) {
    case DownloadType::Ready:
        return QStringLiteral("Ready");
    case DownloadType::UpToDate:
        return QStringLiteral("UpToDate");
    case DownloadType::Canceled:
        return QStringLiteral("Canceled");
    case DownloadType::Downloading:
        return QStringLiteral("Downloading");
    case DownloadType::Copying:
        return QStringLiteral("Copying");
    case DownloadType::Waiting:
        return QStringLiteral("Waiting");
    case DownloadType::Failed:
        return QStringLiteral("Failed");
    }
    Q_UNREACHABLE();
}

QString statusTextKey(DownloadType type)
{
    switch (type) {
    case DownloadType::Ready:
        return QStringLiteral("cell_ready");
    case DownloadType::UpToDate:
        return QStringLiteral("cell_unknown");
    case DownloadType::Canceled:
        return QStringLiteral("cell_canceled");
    case DownloadType::Downloading:
        return QStringLiteral("cell_in_progress");
    case DownloadType::Copying:
        return QStringLiteral("cell_copying");
    case DownloadType::Waiting:
        return QStringLiteral("cell_waiting");
    case DownloadType::Failed:
        return QStringLiteral("cell_failed");
    }
    Q_UNREACHABLE();
}
