#include "tests/support/FaultServer.h"

#include <QCryptographicHash>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

constexpr qint64 chunkSize = 64 * 1024;

using Reply = FaultServer::Reply;
using Request = FaultServer::Request;

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
        qFatal("FaultServer: %s", std::strerror(errno));
    port = ntohs(address.sin_port);
    return listener;
}

QByteArray entityTag(const Reply &reply)
{
    const auto hash = QCryptographicHash::hash(reply.body, QCryptographicHash::Md5).toHex();
    return reply.etag.value_or('"' + hash + '"');
}

bool allowsRange(const Request &request, const Reply &reply)
{
    if (reply.status != 200 || reply.ranges == FaultServer::Ranges::Ignored
        || !request.header("Range").startsWith("bytes="))
        return false;
    const QByteArray condition = request.header("If-Range");
    return condition.isEmpty() || reply.ranges == FaultServer::Ranges::WithoutIfRange
           || condition == entityTag(reply) || condition == reply.lastModified;
}

/// The bytes of the whole body that an answer carries.
struct Part
{
    int status;
    qint64 start;
    qint64 end;
    qint64 whole;

    [[nodiscard]] static Part of(const Request &request, const Reply &reply)
    {
        const qint64 size = reply.body.size() * reply.repeat;
        if (!allowsRange(request, reply))
            return {reply.status, 0, size, size};
        const qint64 start = request.header("Range").mid(6).split('-').first().toLongLong();
        return start < size ? Part{206, start, size, size} : Part{416, 0, 0, size};
    }

    [[nodiscard]] QByteArray contentRange() const
    {
        const QByteArray total = '/' + QByteArray::number(whole);
        if (status == 206)
            return "bytes " + QByteArray::number(start) + '-' + QByteArray::number(end - 1) + total;
        return status == 416 ? "bytes *" + total : QByteArray();
    }
};

QByteArray headOf(const Reply &reply, const Part &part)
{
    const Request given{.headers = reply.headers};
    QByteArray text = "HTTP/1.1 " + QByteArray::number(part.status)
                      + (part.status == 404 ? " Not Found\r\n" : " Something\r\n");
    for (const auto &[name, value] : reply.headers)
        text += name + ": " + value + "\r\n";
    const auto add = [&](const QByteArray &name, const QByteArray &value) {
        if (!value.isEmpty() && given.header(name).isNull())
            text += name + ": " + value + "\r\n";
    };
    if (reply.length == FaultServer::Length::Announced)
        add("Content-Length", QByteArray::number(reply.announced.value_or(part.end - part.start)));
    else if (reply.length == FaultServer::Length::Chunked)
        add("Transfer-Encoding", "chunked");
    else
        add("Connection", "close");
    add("ETag", entityTag(reply));
    add("Last-Modified", reply.lastModified);
    add("Content-Range", part.contentRange());
    return text + "\r\n";
}

} // namespace

/// One connection of the server with its thread; serves request after request until a fault or
/// the client ends it. Its operations are false when it has to end.
class FaultServer::Connection
{
public:
    Connection(int socket, std::stop_token stop, Handler answer)
        : m_socket(socket)
        , m_stop(std::move(stop))
        , m_thread([this, answer = std::move(answer)] { run(answer); })
    {
    }

    ~Connection()
    {
        ::shutdown(m_socket, SHUT_RDWR);
        m_thread.join();
        ::close(m_socket);
    }

private:
    using Clock = std::chrono::steady_clock;

    void run(const Handler &answer)
    {
        const int on = 1;
        ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        while (const auto request = readRequest()) {
            if (!send(*request, answer(*request)))
                break;
        }
        ::shutdown(m_socket, SHUT_RDWR);
    }

    [[nodiscard]] std::optional<Request> readRequest()
    {
        if (!receiveUntil([this] { return m_received.contains("\r\n\r\n"); }))
            return std::nullopt;
        const qsizetype end = m_received.indexOf("\r\n\r\n");
        QList<QByteArray> lines = m_received.left(end).replace("\r\n", "\n").split('\n');
        const QList<QByteArray> words = lines.takeFirst().split(' ');
        Request request{.method = words.value(0), .target = words.value(1)};
        for (const QByteArray &line : std::as_const(lines)) {
            const qsizetype colon = line.indexOf(':');
            request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
        }
        m_received.remove(0, end + 4);
        const qsizetype length = request.header("Content-Length").toLongLong();
        if (!receiveUntil([&] { return m_received.size() >= length; }))
            return std::nullopt;
        request.body = m_received.left(length);
        m_received.remove(0, length);
        return request;
    }

    template <typename IsEnough>
    [[nodiscard]] bool receiveUntil(const IsEnough &isEnough)
    {
        while (!isEnough()) {
            char buffer[16 * 1024];
            const ssize_t count = ::recv(m_socket, buffer, sizeof(buffer), 0);
            if (count <= 0)
                return false;
            m_received.append(buffer, count);
        }
        return true;
    }

    [[nodiscard]] bool send(const Request &request, const Reply &reply)
    {
        if (reply.hold)
            reply.hold->pass(m_stop);
        m_nextPiece = Clock::now();
        if (!reply.raw) {
            const Part part = Part::of(request, reply);
            return write(headOf(reply, part))
                   && (request.method == "HEAD" || sendBody(reply, part));
        }
        Reply bare = reply;
        bare.body = *reply.raw;
        bare.length = Length::Absent;
        return sendBody(bare, Part{200, 0, bare.body.size(), bare.body.size()});
    }

    [[nodiscard]] bool sendBody(const Reply &reply, const Part &part)
    {
        const bool isChunked = reply.length == Length::Chunked;
        const qint64 total = part.end - part.start;
        bool pending = reply.fault != Fault::None && reply.faultAt <= total;
        for (qint64 sent = 0; sent < total || pending;) {
            if (pending && sent == reply.faultAt) {
                if (reply.fault == Fault::Close)
                    return false;
                reply.gate->pass(m_stop);
                pending = false;
                continue;
            }
            const qint64 offset = (part.start + sent) % reply.body.size();
            const qint64 size = std::min((pending ? reply.faultAt : total) - sent, chunkSize);
            const QByteArray piece =
                reply.body.mid(offset, reply.slice > 0 ? std::min(size, reply.slice) : size);
            const QByteArray length = QByteArray::number(piece.size(), 16);
            if (!write(isChunked ? length + "\r\n" + piece + "\r\n" : piece))
                return false;
            sent += piece.size();
            // A line of that speed makes up for a reader that was slow once.
            std::this_thread::sleep_until(m_nextPiece += reply.pause);
        }
        if (isChunked && !write("0\r\n\r\n"))
            return false;
        return reply.length != Length::Absent && reply.announced.value_or(total) == total;
    }

    [[nodiscard]] bool write(const QByteArray &data)
    {
        for (qsizetype sent = 0; sent < data.size();) {
            const ssize_t count = ::send(m_socket, data.constData() + sent,
                                         static_cast<size_t>(data.size() - sent), MSG_NOSIGNAL);
            if (count <= 0)
                return false;
            sent += count;
        }
        return !m_stop.stop_requested();
    }

    const int m_socket;
    const std::stop_token m_stop;
    QByteArray m_received;
    Clock::time_point m_nextPiece;
    std::thread m_thread;
};

QByteArray FaultServer::Request::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

FaultServer::Reply FaultServer::Reply::redirect(const QByteArray &location, int status)
{
    return {.status = status,
            .headers = {{"Location", location}},
            .body = "moved",
            .etag = QByteArray()};
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
        if (socket < 0 && m_stop.stop_requested())
            return;
        if (socket < 0)
            qFatal("FaultServer: %s", std::strerror(errno));
        ++m_connectionCount;
        m_connections.push_back(std::make_unique<Connection>(
            socket, m_stop.get_token(),
            [this](const Request &request) { return answer(request); }));
    }
}

FaultServer::Reply FaultServer::answer(const Request &request)
{
    std::shared_ptr<Handler> handler;
    {
        const std::lock_guard lock(m_mutex);
        m_requests.append(request);
        handler = m_handlers.value(request.target, m_handlers.value(request.path()));
    }
    if (!handler)
        return {.status = 404, .body = "not here", .etag = QByteArray()};
    const std::lock_guard lock(m_handlerMutex);
    return (*handler)(request);
}

void FaultServer::serveInTurn(const QByteArray &path, const QList<Reply> &replies)
{
    on(path, [replies, next = qsizetype(0)](const Request &) mutable {
        const Reply reply = replies.at(next);
        next = std::min(next + 1, replies.size() - 1);
        return reply;
    });
}

void FaultServer::on(const QByteArray &path, const Handler &handler)
{
    // Shared, so that a handler with a state keeps it from request to request.
    const std::lock_guard lock(m_mutex);
    m_handlers.insert(path, std::make_shared<Handler>(handler));
}

QList<FaultServer::Request> FaultServer::requests(const QByteArray &path) const
{
    const std::lock_guard lock(m_mutex);
    // A list of its own: sharing one between threads is a race to the thread sanitizer.
    QList<Request> found;
    std::copy_if(
        m_requests.begin(), m_requests.end(), std::back_inserter(found),
        [&path](const Request &request) { return path.isEmpty() || request.path() == path; });
    return found;
}
