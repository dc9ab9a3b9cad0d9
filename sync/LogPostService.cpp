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
    const UsageLog log = readLog();
    if (!log.mids.isEmpty())
        postMids(log, std::move(stop));
}

QStringList LogPostService::getLogMids()
{
    return readLog().mids;
}

LogPostService::UsageLog LogPostService::readLog()
{
    const std::optional<QUrl> log = URLFactory::getLogFileURL();
    if (!log) {
        debugPrint(u"Could not get log file URL."_s);
        return {};
    }
    if (!UsbService::isQuilloConnected())
        return {};
    UsageLog usage{FileService::getFileContent(*log).value_or(QString()), {}};
    const QStringList lines = splitAtNewlines(usage.text);
    for (const QString &line : lines) {
        const QString value = valueAfter(line, u'=').value_or(QString());
        if (!value.isEmpty())
            usage.mids += QString(value).remove(QChar(u'\0'));
    }
    return usage;
}

void LogPostService::postMids(const UsageLog &log, std::stop_token stop)
{
    const std::optional<QUrl> url = configuredURL(URLFactory::logPostKey);
    if (!url)
        return;
    URLRequest request;
    request.url = *url;
    request.method = "POST";
    request.headers = {{"Content-Type", "application/json"}};
    request.body =
        QJsonDocument(QJsonArray::fromStringList(log.mids)).toJson(QJsonDocument::Indented);
    sharedSession().dataTask(
        request, [sent = log.text, stop = std::move(stop)](const DataTaskResult &result) {
            const bool accepted = result.isSuccess() && result.response->statusCode == 200;
            if (accepted && !stop.stop_requested())
                clearLog(sent);
        });
}

/// What the server has not seen, of this pen or of another one, stays.
void LogPostService::clearLog(const QString &sent)
{
    const std::optional<QUrl> log = URLFactory::getLogFileURL();
    if (log && FileService::getFileContent(*log) == sent)
        FileService::writeFile(QString(), *log);
}
