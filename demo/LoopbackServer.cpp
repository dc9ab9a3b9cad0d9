#include "demo/LoopbackServer.h"

#include <httplib.h>

#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace {

constexpr const char *host = "127.0.0.1";
constexpr size_t threads = 4;
constexpr qint64 largestPiece = 256 * 1024;
constexpr qint64 smallestPiece = 1024;
constexpr int piecesPerSecond = 20;

DemoRequest requestOf(const httplib::Request &request)
{
    DemoRequest result;
    result.method = QByteArray::fromStdString(request.method);
    result.path = QString::fromStdString(request.path);
    if (request.has_param("mids"))
        result.mids = QString::fromStdString(request.get_param_value("mids"));
    result.body = QByteArray::fromStdString(request.body);
    return result;
}

/// Without SO_REUSEPORT, which the library would set and which lets a second demo take the port.
void setSocketOptions(socket_t socket)
{
    const int yes = 1;
    setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

} // namespace

/// From one start to the next stop.
class LoopbackServer::Session
{
public:
    Session(const Handler &handler, qint64 bytesPerSecond);
    ~Session();

    [[nodiscard]] bool listen(int &port);
    std::atomic<qint64> bytesPerSecond;

private:
    void answer(const httplib::Request &request, httplib::Response &response);
    void answerTooLong(httplib::Response &response);
    void fill(httplib::Response &response, const DemoAnswer &answer);
    bool sendPiece(const DemoContent &content, size_t offset, size_t length,
                   httplib::DataSink &sink);
    bool waitOrStop(std::chrono::milliseconds pause);

    const Handler &m_handler;
    httplib::Server m_server;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_stop;
    bool m_stopping = false;
};

LoopbackServer::Session::Session(const Handler &handler, qint64 initialBytesPerSecond)
    : bytesPerSecond(initialBytesPerSecond)
    , m_handler(handler)
{
    const auto handle = [this](const httplib::Request &request, httplib::Response &response) {
        answer(request, response);
    };
    m_server.Get(".*", handle);
    m_server.Post(".*", handle);
    m_server.set_error_handler([this](const httplib::Request &, httplib::Response &response) {
        if (response.status == 414)
            answerTooLong(response);
    });
    m_server.set_socket_options(setSocketOptions);
    m_server.set_keep_alive_max_count(1); // idle connections would hold up stop()
    m_server.set_read_timeout(1);
    m_server.new_task_queue = [] {
        return new httplib::ThreadPool(threads);
    };
}

LoopbackServer::Session::~Session()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_stop.notify_all();
    m_server.stop();
    if (m_thread.joinable())
        m_thread.join();
}

bool LoopbackServer::Session::listen(int &port)
{
    if (port == 0)
        port = std::max(0, m_server.bind_to_any_port(host));
    else if (!m_server.bind_to_port(host, port))
        return false;
    if (port == 0)
        return false;
    m_thread = std::thread([this] { m_server.listen_after_bind(); });
    // Stopping a server that does not run yet would have no effect.
    while (!m_server.is_running())
        std::this_thread::yield();
    return true;
}

void LoopbackServer::Session::answer(const httplib::Request &request, httplib::Response &response)
{
    fill(response, m_handler(requestOf(request)));
}

/// The library gives up on request lines beyond 8 KiB. Only the list of all MIDs gets that long.
void LoopbackServer::Session::answerTooLong(httplib::Response &response)
{
    DemoRequest request;
    request.method = "GET";
    request.path = QStringLiteral("/medias");
    response.status = 200;
    fill(response, m_handler(request));
}

void LoopbackServer::Session::fill(httplib::Response &response, const DemoAnswer &answer)
{
    if (answer.status != 200) // left open, the library answers a range with 206
        response.status = answer.status;
    if (!answer.entityTag.isEmpty())
        response.set_header("ETag", answer.entityTag.toStdString());
    if (!answer.content) {
        response.set_content(answer.body.toStdString(), answer.contentType.toStdString());
        return;
    }
    response.set_content_provider(
        size_t(answer.content->size()), answer.contentType.toStdString(),
        [this, content = *answer.content](size_t offset, size_t length, httplib::DataSink &sink) {
            return sendPiece(content, offset, length, sink);
        });
}

bool LoopbackServer::Session::sendPiece(const DemoContent &content, size_t offset, size_t length,
                                        httplib::DataSink &sink)
{
    const qint64 rate = bytesPerSecond;
    const qint64 piece =
        rate == 0 ? largestPiece : std::clamp(rate / piecesPerSecond, smallestPiece, largestPiece);
    const QByteArray bytes = content.bytes(qint64(offset), std::min(piece, qint64(length)));
    const auto pause = rate == 0 ? std::chrono::milliseconds(0)
                                 : std::chrono::milliseconds(bytes.size() * 1000 / rate);
    if (!waitOrStop(pause))
        return false;
    return sink.write(bytes.constData(), size_t(bytes.size()));
}

/// False once the server is going away.
bool LoopbackServer::Session::waitOrStop(std::chrono::milliseconds pause)
{
    std::unique_lock lock(m_mutex);
    return !m_stop.wait_for(lock, pause, [this] { return m_stopping; });
}

LoopbackServer::LoopbackServer(Handler handler)
    : m_handler(std::move(handler))
{
}

LoopbackServer::~LoopbackServer() = default;

bool LoopbackServer::start()
{
    if (m_session)
        return true;
    auto session = std::make_unique<Session>(m_handler, m_bytesPerSecond);
    if (!session->listen(m_port))
        return false;
    m_session = std::move(session);
    return true;
}

void LoopbackServer::stop()
{
    m_session.reset();
}

bool LoopbackServer::isRunning() const
{
    return m_session != nullptr;
}

int LoopbackServer::port() const
{
    return m_port;
}

void LoopbackServer::setBytesPerSecond(qint64 bytesPerSecond)
{
    m_bytesPerSecond = bytesPerSecond;
    if (m_session)
        m_session->bytesPerSecond = bytesPerSecond;
}
