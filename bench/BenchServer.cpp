#include "bench/BenchServer.h"

#include "bench/BenchPen.h"
#include "pen/URLFactory.h"

#include <QFile>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

const QByteArray publisher = "7";

QList<std::pair<QString, QByteArray>> addresses()
{
    return {
        {URLFactory::mediaServerVersionsKey, "/versions"},
        {URLFactory::mediaServerMediasKey, "/medias"},
        {URLFactory::mediaServerImageIsoVersionKey, "/imageversion"},
        {URLFactory::mediaServerFirmwareVersionKey, "/firmwareversion"},
        {URLFactory::streamingServerFilesKey, "/files/"},
        {URLFactory::streamingServerSoftwareKey, "/software/"},
        {URLFactory::logPostKey, "/log"},
    };
}

} // namespace

BenchServer::BenchServer(int titles, int outdated, qsizetype contentBytes)
    : m_titles(titles)
    , m_outdated(outdated)
    , m_content(contentBytes, 'q')
{
    configure();
    m_server.serve("/imageversion", {"1"});
    m_server.serve("/firmwareversion", {"1"});
    m_server.serve("/log", {});
    m_server.serve("/medias", {medias()});
    m_server.serve("/versions", {versions(0)});
    for (int i = 0; i < outdated; ++i)
        serveContent(i);
}

QString BenchServer::configuration() const
{
    return m_folder.filePath(u"Url.plist"_s);
}

void BenchServer::configure() const
{
    QByteArray list = R"(<plist version="1.0"><dict>)";
    for (const auto &[key, path] : addresses())
        list += "<key>" + key.toUtf8() + "</key><string>" + m_server.url(path).toEncoded()
                + "</string>";
    QFile file(configuration());
    if (!file.open(QIODevice::WriteOnly) || file.write(list + "</dict></plist>") < 0)
        qFatal("no configuration");
}

void BenchServer::publish()
{
    m_server.serve("/versions", {versions(m_outdated)});
}

QByteArray BenchServer::versions(int outdated) const
{
    QList<QByteArray> entries;
    for (int i = 0; i < m_titles; ++i)
        entries += '"' + QByteArray::number(BenchPen::mid(i)) + "\":" + (i < outdated ? '2' : '1');
    return '{' + entries.join(',') + '}';
}

QByteArray BenchServer::medias() const
{
    QList<QByteArray> entries;
    for (int i = 0; i < m_titles; ++i)
        entries += R"({"title":"Title )" + QByteArray::number(i) + R"(","author":"A","isbn":"978",)"
                   + R"("mid":)" + QByteArray::number(BenchPen::mid(i))
                   + R"(,"bookAreaCode":"en","volume":1,"mediaType":"Buch",)"
                   + R"("publisher":{"publisherId":)" + publisher + R"(,"name":"P"}})";
    return '[' + entries.join(',') + ']';
}

void BenchServer::serveContent(int title)
{
    const QByteArray mid = QByteArray::number(BenchPen::mid(title));
    m_server.serve("/files/" + publisher + '/' + mid + "/2/" + mid + "_en.qnk", {m_content});
}
