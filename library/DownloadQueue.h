#pragma once

#include "library/BaseElement.h"
#include "library/DownloadType.h"

#include <QList>
#include <QString>

#include <optional>

/// The kind of file a row stands for.
enum class UpdateFileType { iso, bin, qnk, txt, png };

/// The case's name.
[[nodiscard]] QString name(UpdateFileType type);

/// One row of the download queue.
struct UpdateElement
{
    QString publisherId;
    QString mid;
    QString bookVersion;
    QString elementId;
    QString title;
    DownloadType downloadType = DownloadType::Waiting;
    std::optional<CoverImage> image;
    qint64 contentLength = 0; ///< bytes, 0 when unknown
    UpdateFileType updateFileType = UpdateFileType::qnk;
    QString updateURLString;
    QString serverElementId; ///< the server's name for the content; empty when it is `elementId`
};

/// The name of the row's content on the server.
[[nodiscard]] inline const QString &nameOnServer(const UpdateElement &row)
{
    return row.serverElementId.isEmpty() ? row.elementId : row.serverElementId;
}

/// Whether the row waits, loads or is being placed.
[[nodiscard]] bool isOpen(const UpdateElement &row);

// The run's shared state, once for the whole program. Main thread only; debug builds assert it.

[[nodiscard]] QList<UpdateElement> &updateElements();

/// The records of the last catalogue run.
[[nodiscard]] ElementList &pendingElements();

/// The first record with that MID, compared as text; absent when there is none.
[[nodiscard]] ElementPtr pendingElement(const QString &mid);

[[nodiscard]] qint64 &totalBytesToDownload();
[[nodiscard]] qint64 &totalBytesDownloaded();

/// Takes a waiting row out of the run; it stays in the queue as cancelled.
void cancelRow(UpdateElement &row);

/// Whether any row of the queue is open.
[[nodiscard]] bool queueHasOpenRows();

/// Whether the row is one of the system image or of the firmware.
[[nodiscard]] bool isSystemSoftware(const UpdateElement &row);

// Of the rows of the queue.
[[nodiscard]] int rowsNotCanceled();
[[nodiscard]] qsizetype readyRows();
[[nodiscard]] bool allRowsReadyOrCanceled();
