#include "sync/LogPostService.h"

#include "pen/FileService.h"
#include "pen/TextValues.h"
#include "pen/URLFactory.h"
#include "pen/UsbService.h"
#include "platform/SharedSession.h"
#include "platform/StandardOutput.h"
#include "platform/URLSession.h"
#include "sync/RequestAddresses.h"

#include <QJsonArray>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

void LogPostService::postLogFIleMidsToServer(std::stop_token stop)
{
    const QStringList mids = getLogMids();
    if (!mids.isEmpty())
        postMids(mids, std::move(stop));
}

QStringList LogPostService::getLogMids()
{
    const std::optional<QUrl> log = URLFactory::getLogFileURL();
    if (!log) {
        debugPrint(u"Could not get log file URL."_s);
        return {};
    }
    if (!UsbService::isQuilloConnected())
        return {};
    QStringList mids;
    const QStringList lines =
        splitAtNewlines(FileService::getFileContent(*log).value_or(QString()));
    for (const QString &line : lines) {
        const QString value = valueAfter(line, u'=').value_or(QString());
        if (!value.isEmpty())
            mids += QString(value).remove(QChar(u'\0'));
    }
    return mids;
}

void LogPostService::postMids(const QStringList &mids, std::stop_token stop)
{
    const std::optional<QUrl> url = configuredURL(URLFactory::logPostKey);
    if (!url)
        return;
    URLRequest request;
    request.url = *url;
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}};
    request.body = QJsonDocument(QJsonArray::fromStringList(mids)).toJson(QJsonDocument::Indented);
    sharedSession().dataTask(request, [stop = std::move(stop)](const DataTaskResult &result) {
        const bool accepted = result.isSuccess() && result.response->statusCode == 200;
        if (accepted && !stop.stop_requested())
            clearLog();
    });
}

void LogPostService::clearLog()
{
    if (const std::optional<QUrl> log = URLFactory::getLogFileURL())
        FileService::writeFile(QString(), *log);
}
