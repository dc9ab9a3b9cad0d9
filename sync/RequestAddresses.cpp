#include "sync/RequestAddresses.h"

#include "pen/URLFactory.h"
#include "platform/Address.h"
#include "platform/StandardOutput.h"

using namespace Qt::StringLiterals;

namespace {

std::optional<QUrl> encodedURL(const std::optional<QString> &address)
{
    if (!address)
        return std::nullopt;
    const std::optional<QString> encoded = percentEncodedForQuery(*address);
    return encoded ? makeURL(*encoded) : std::nullopt;
}

} // namespace

std::optional<QString> configuredAddress(const QString &key)
{
    std::optional<QString> value = URLFactory::getServerValue(key);
    if (!value)
        debugPrint(u"No address is configured under "_s + key);
    return value;
}

std::optional<QUrl> configuredURL(const QString &key)
{
    const std::optional<QString> value = configuredAddress(key);
    if (!value)
        return std::nullopt;
    std::optional<QUrl> url = makeURL(*value);
    if (!url)
        debugPrint(u"The value of "_s + key + u" is no address: "_s + *value);
    return url;
}

std::optional<QString> midList(const QStringList &mids)
{
    if (mids.isEmpty())
        return std::nullopt;
    QStringList entries;
    for (QString mid : mids) {
        mid = mid.remove(QChar(u'\0')).trimmed();
        if (!mid.isEmpty())
            entries += u'"' + mid + u'"';
    }
    return entries.join(u',');
}

std::optional<QUrl> versionsURL()
{
    return encodedURL(configuredAddress(URLFactory::mediaServerVersionsKey));
}

std::optional<QUrl> titleDataURL(const QString &midList)
{
    const std::optional<QString> prefix = configuredAddress(URLFactory::mediaServerMediasKey);
    if (!prefix)
        return std::nullopt;
    return encodedURL(*prefix + u"?mids="_s + midList);
}

std::optional<QString> coverAddress(const QString &publisherId, const QString &mid,
                                    const QString &elementId)
{
    const std::optional<QString> prefix = configuredAddress(URLFactory::streamingServerFilesKey);
    if (!prefix)
        return std::nullopt;
    return *prefix + publisherId + u'/' + mid + u'/'
           + URLFactory::fileName(removeLeadingZeros(elementId), FileType::png);
}

std::optional<QString> contentAddress(const QString &publisherId, const QString &mid,
                                      const QString &bookVersion, const QString &elementId)
{
    const std::optional<QString> prefix = configuredAddress(URLFactory::streamingServerFilesKey);
    if (!prefix)
        return std::nullopt;
    return percentEncodedForQuery(*prefix + publisherId + u'/' + mid + u'/' + bookVersion + u'/'
                                  + URLFactory::fileName(elementId, FileType::qnk));
}

std::optional<QString> softwareAddress(const QString &fileName)
{
    const std::optional<QString> prefix = configuredAddress(URLFactory::streamingServerSoftwareKey);
    return prefix ? std::optional(*prefix + fileName) : std::nullopt;
}

QString removeLeadingZeros(const QString &text)
{
    qsizetype zeros = 0;
    while (zeros < text.size() && text.at(zeros) == u'0')
        ++zeros;
    return text.mid(zeros);
}
