#include "download/QueueWindow.h"

#include "platform/Dispatch.h"
#include "platform/NotificationCenter.h"

using namespace Qt::StringLiterals;

const QString QueueWindow::downloadPercentage = u"DownloadPercentage"_s;
const QString QueueWindow::downloadComplete = u"DownloadComplete"_s;
const QString QueueWindow::startElementDownloads = u"startElementDownloads"_s;
const QString QueueWindow::noResponseFromServer = u"noResponseFromServer"_s;
const QString QueueWindow::percentDownloadedKey = u"percentDownloaded"_s;
const QString QueueWindow::titlesDeleted = u"titlesDeleted"_s;
const QString QueueWindow::elementIdsKey = u"elementIds"_s;

void QueueWindow::postDownloadPercentage(double percentage)
{
    NotificationCenter::defaultCenter().post(downloadPercentage,
                                             {{percentDownloadedKey, percentage}});
}

void QueueWindow::postStartElementDownloads()
{
    NotificationCenter::defaultCenter().post(startElementDownloads);
}

void QueueWindow::postNoResponseFromServer()
{
    NotificationCenter::defaultCenter().post(noResponseFromServer);
}

void QueueWindow::postTitlesDeleted(const QStringList &elementIds)
{
    NotificationCenter::defaultCenter().post(titlesDeleted, {{elementIdsKey, elementIds}});
}

void QueueWindow::postNotification(const QString &name, QObject *guard)
{
    Dispatch::main(guard, [name] { NotificationCenter::defaultCenter().post(name); });
}
