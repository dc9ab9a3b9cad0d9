#pragma once

#include <QStringList>

class QObject;
struct FileFailure;

/// What the transfer service needs of the window that shows the queue, and the notifications by
/// which both talk. Main thread only.
class QueueWindow
{
public:
    static const QString downloadPercentage;    ///< "DownloadPercentage"
    static const QString downloadComplete;      ///< "DownloadComplete"
    static const QString startElementDownloads; ///< "startElementDownloads"
    static const QString noResponseFromServer;  ///< "noResponseFromServer"
    static const QString percentDownloadedKey;  ///< "percentDownloaded", a double
    static const QString titlesDeleted;         ///< "titlesDeleted"
    static const QString elementIdsKey;         ///< "elementIds", a list of texts

    virtual ~QueueWindow() = default;

    /// The row being worked on.
    [[nodiscard]] virtual int indexToDownload() const = 0;
    virtual void setIndexToDownload(int index) = 0;

    virtual void reloadQueueTable() = 0;

    /// The row's file has arrived and is being placed on the pen.
    virtual void copyStarted(int index) = 0;
    /// The row's file could not be stored on the pen; the queue stays at this row.
    virtual void copyFailed(const FileFailure &failure) = 0;
    /// The pen has no room for the row's file or cannot hold one so large; the queue goes on.
    virtual void fileDidNotFit(const FileFailure &failure) = 0;

    static void postDownloadPercentage(double percentage);
    static void postStartElementDownloads();
    static void postNoResponseFromServer();
    /// These titles were deleted from the pen: what waits to be loaded of them leaves the run.
    static void postTitlesDeleted(const QStringList &elementIds);
    /// Queues the posting of `name` on the main queue; dropped with `guard`.
    static void postNotification(const QString &name, QObject *guard);
};
