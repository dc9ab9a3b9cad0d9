#include "demo/DemoConfiguration.h"

#include "demo/DemoServers.h"
#include "pen/URLFactory.h"

#include <QFile>
#include <QXmlStreamWriter>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

QList<std::pair<QString, QString>> entries(const DemoServers &servers)
{
    const QString media = servers.mediaAddress();
    const QString files = servers.fileAddress();
    return {
        {URLFactory::mediaServerVersionsKey, media + u"versions"_s},
        {URLFactory::mediaServerMediasKey, media + u"medias"_s},
        {URLFactory::mediaServerImageIsoVersionKey, media + u"image-version"_s},
        {URLFactory::mediaServerFirmwareVersionKey, media + u"firmware-version"_s},
        {URLFactory::streamingServerFilesKey, files + u"files/"_s},
        {URLFactory::streamingServerSoftwareKey, files + u"software/"_s},
        {URLFactory::logPostKey, servers.logAddress() + u"log"_s},
        {URLFactory::shopKey, media + u"shop"_s},
        {URLFactory::dummyVideoKey, files + u"video.mp4"_s},
    };
}

} // namespace

bool writeConfiguration(const DemoServers &servers, const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QXmlStreamWriter xml(&file);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(u"plist"_s);
    xml.writeAttribute(u"version"_s, u"1.0"_s);
    xml.writeStartElement(u"dict"_s);
    for (const auto &[key, value] : entries(servers)) {
        xml.writeTextElement(u"key"_s, key);
        xml.writeTextElement(u"string"_s, value);
    }
    xml.writeEndDocument();
    return !xml.hasError() && file.flush();
}
