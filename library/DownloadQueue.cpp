#include "library/DownloadQueue.h"

#include "platform/Dispatch.h"

#include <algorithm>

namespace {

struct Queue
{
    QList<UpdateElement> rows;
    ElementList pending;
    qint64 bytesToDownload = 0;
    qint64 bytesDownloaded = 0;
};

Queue &queue()
{
    Q_ASSERT(Dispatch::isMainThread());
    static Queue queue;
    return queue;
}

} // namespace

QString name(UpdateFileType type)
{
    switch (type) {
    case UpdateFileType::iso:
        return QStringLiteral("iso");
    case UpdateFileType::bin:
        return QStringLiteral("bin");
    case UpdateFileType::qnk:
        return QStringLiteral("qnk");
    case UpdateFileType::txt:
        return QStringLiteral("txt");
    case UpdateFileType::png:
        return QStringLiteral("png");
    }
    Q_UNREACHABLE();
}

bool isOpen(const UpdateElement &row)
{
    return row.downloadType == DownloadType::Waiting
           || row.downloadType == DownloadType::Downloading
           || row.downloadType == DownloadType::Copying;
}

QList<UpdateElement> &updateElements()
{
    return queue().rows;
}

ElementList &pendingElements()
{
    return queue().pending;
}

ElementPtr pendingElement(const QString &mid)
{
    const ElementList &records = pendingElements();
    const auto found = std::find_if(records.begin(), records.end(),
                                    [&mid](const ElementPtr &r) { return r->mid == mid; });
    return found == records.end() ? nullptr : *found;
}

qint64 &totalBytesToDownload()
{
    return queue().bytesToDownload;
}

qint64 &totalBytesDownloaded()
{
    return queue().bytesDownloaded;
}

void cancelRow(UpdateElement &row)
{
    row.downloadType = DownloadType::Canceled;
    totalBytesToDownload() -= row.contentLength;
}

bool queueHasOpenRows()
{
    const QList<UpdateElement> &rows = updateElements();
    return std::any_of(rows.begin(), rows.end(), isOpen);
}

bool isSystemSoftware(const UpdateElement &row)
{
    return row.updateFileType == UpdateFileType::iso || row.updateFileType == UpdateFileType::bin;
}

int rowsNotCanceled()
{
    const QList<UpdateElement> &rows = updateElements();
    return static_cast<int>(std::count_if(rows.begin(), rows.end(), [](const UpdateElement &row) {
        return row.downloadType != DownloadType::Canceled;
    }));
}

qsizetype readyRows()
{
    const QList<UpdateElement> &rows = updateElements();
    return std::count_if(rows.begin(), rows.end(), [](const UpdateElement &row) {
        return row.downloadType == DownloadType::Ready;
    });
}

bool allRowsReadyOrCanceled()
{
    const QList<UpdateElement> &rows = updateElements();
    return std::all_of(rows.begin(), rows.end(), [](const UpdateElement &row) {
        return row.downloadType == DownloadType::Ready
               || row.downloadType == DownloadType::Canceled;
    });
}
