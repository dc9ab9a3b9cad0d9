#include "tests/support/FaultServer.h"

#include "tests/support/FaultServerConnection.h"

#include <QTest>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace {

[[noreturn]] void giveUp(const char *what)
{
    std::perror(what);
    std::abort();
}

int listenOnLoopback(int &port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto *name = reinterpret_cast<sockaddr *>(&address);
    if (listener < 0 || ::bind(listener, name, size) != 0 || ::listen(listener, 64) != 0
        || ::getsockname(listener, name, &size) != 0)
        giveUp("FaultServer");
    port = ntohs(address.sin_port);
    return listener;
}

} // namespace

QByteArray FaultServer::Request::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

bool FaultServer::Request::hasHeader(const QByteArray &name) const
{
    return std::any_of(headers.cbegin(), headers.cend(), [&name](const auto &header) {
        return header.first.compare(name, Qt::CaseInsensitive) == 0;
    });
}

void FaultServer::Gate::open()
{
    const std::lock_guard lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
}

bool FaultServer::Gate::isReached() const
{
    const std::lock_guard lock(m_mutex);
    return m_reached;
}

bool FaultServer::Gate::waitUntilReached(int timeout) const
{
    return QTest::qWaitFor([this] { return isReached(); }, timeout);
}

void FaultServer::Gate::pass(const std::stop_token &stop)
{
    std::unique_lock lock(m_mutex);
    m_reached = true;
    m_changed.wait(lock, stop, [this] { return m_open; });
}

FaultServer::Reply FaultServer::Reply::redirect(const QByteArray &location, int status)
{
    return {.status = status, .headers = {{"Location", location}}, .etag = QByteArray()};
}

FaultServer::FaultServer()
    : m_listener(listenOnLoopback(m_port))
    , m_acceptor([this] { acceptConnections(); })
{
}

FaultServer::~FaultServer()
{
    m_stop.request_stop();
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    ::close(m_listener);
    m_connections.clear();
}

void FaultServer::acceptConnections()
{
    while (true) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (m_stop.stop_requested()) {
            if (socket >= 0)
                ::close(socket);
            return;
        }
        m_connectionCount += socket >= 0 ? 1 : 0;
        if (socket >= 0)
            m_connections.push_back(std::make_unique<Connection>(
                socket, m_stop.get_token(),
                [this](const Request &request) { return answer(request); }));
        else if (errno != EINTR && errno != ECONNABORTED)
            giveUp("FaultServer");
    }
}

FaultServer::Reply FaultServer::answer(const Request &request)
{
    Handler handler;
    {
        const std::lock_guard lock(m_mutex);
        m_requests.append(request);
        handler = m_handlers.value(request.target, m_handlers.value(request.path()));
    }
    if (!handler)
        return {.status = 404, .body = "not here", .etag = QByteArray()};
    const std::lock_guard lock(m_handlerMutex);
    return handler(request);
}

QUrl FaultServer::url(const QByteArray &path) const
{
    return QUrl::fromEncoded(address(path).toLatin1(), QUrl::StrictMode);
}

QString FaultServer::address(const QByteArray &path) const
{
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port) + QString::fromLatin1(path);
}

void FaultServer::serve(const QByteArray &path, const QByteArray &body)
{
    serve(path, Reply{.body = body});
}

void FaultServer::serve(const QByteArray &path, const Reply &reply)
{
    on(path, [reply](const Request &) { return reply; });
}

void FaultServer::serveInTurn(const QByteArray &path, const QList<Reply> &replies)
{
    Q_ASSERT(!replies.isEmpty());
    on(path, [replies, next = qsizetype(0)](const Request &) mutable {
        const Reply reply = replies.at(next);
        next = std::min(next + 1, replies.size() - 1);
        return reply;
    });
}

void FaultServer::on(const QByteArray &path, const Handler &handler)
{
    // Shared, so that a handler with a state keeps it from request to request.
    const auto shared = std::make_shared<Handler>(handler);
    const std::lock_guard lock(m_mutex);
    m_handlers.insert(path, [shared](const Request &request) { return (*shared)(request); });
}

QList<FaultServer::Request> FaultServer::requests() const
{
    const std::lock_guard lock(m_mutex);
    // A list of its own: sharing one between threads is a race to the thread sanitizer.
    return QList<Request>(m_requests.begin(), m_requests.end());
}

QList<FaultServer::Request> FaultServer::requests(const QByteArray &path) const
{
    QList<Request> found = requests();
    found.removeIf([&path](const Request &request) { return request.path() != path; });
    return found;
}

void FaultServer::forgetRequests()
{
    const std::lock_guard lock(m_mutex);
    m_requests.clear();
}

bool FaultServer::waitForRequests(qsizetype count, int timeout) const
{
    return QTest::qWaitFor([&] { return requests().size() >= count; }, timeout);
}

bool FaultServer::waitForRequests(const QByteArray &path, qsizetype count, int timeout) const
{
    return QTest::qWaitFor([&] { return requests(path).size() >= count; }, timeout);
}
