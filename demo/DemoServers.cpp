#include "demo/DemoServers.h"

#include "demo/DemoAnswers.h"
#include "demo/DemoCatalogue.h"

using namespace Qt::StringLiterals;

namespace {

QString addressOf(const LoopbackServer &server)
{
    return u"http://127.0.0.1:%1/"_s.arg(server.port());
}

} // namespace

DemoServers::DemoServers(const DemoCatalogue &catalogue)
    : m_media([&catalogue](const DemoRequest &request) { return mediaAnswer(catalogue, request); })
    , m_files([&catalogue](const DemoRequest &request) { return fileAnswer(catalogue, request); })
    , m_log([this](const DemoRequest &request) { return takeLog(request); })
{
}

bool DemoServers::start()
{
    return m_media.start() && m_files.start() && m_log.start();
}

void DemoServers::stop()
{
    m_media.stop();
    m_files.stop();
    m_log.stop();
}

void DemoServers::setBytesPerSecond(qint64 bytesPerSecond)
{
    m_files.setBytesPerSecond(bytesPerSecond);
}

QString DemoServers::mediaAddress() const
{
    return addressOf(m_media);
}

QString DemoServers::fileAddress() const
{
    return addressOf(m_files);
}

QString DemoServers::logAddress() const
{
    return addressOf(m_log);
}

QString DemoServers::videoAddress() const
{
    return fileAddress() + u"video-of-the-book.mp4"_s;
}

QString DemoServers::pageAddress() const
{
    return mediaAddress() + u"page"_s;
}

QList<QByteArray> DemoServers::receivedLogs() const
{
    const std::lock_guard lock(m_mutex);
    return m_receivedLogs;
}

DemoAnswer DemoServers::takeLog(const DemoRequest &request)
{
    if (request.method != "POST")
        return {.status = 405, .contentType = "text/plain", .body = "Only POST.\n"};
    const std::lock_guard lock(m_mutex);
    m_receivedLogs += request.body;
    return {.contentType = "text/plain", .body = "Thank you.\n"};
}
