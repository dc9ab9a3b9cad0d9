#include "bench/PlainServer.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

/// Appends what has come; false at the end of the connection.
bool receive(int socket, QByteArray &received)
{
    char buffer[16 * 1024];
    ssize_t count = 0;
    do {
        count = ::recv(socket, buffer, sizeof(buffer), 0);
    } while (count < 0 && errno == EINTR);
    if (count > 0)
        received.append(buffer, count);
    return count > 0;
}

bool send(int socket, const QByteArray &bytes)
{
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t count = ::send(socket, bytes.constData() + sent,
                                     static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0 && errno != EINTR)
            return false;
        sent += std::max<ssize_t>(0, count);
    }
    return true;
}

/// Takes the next request's head off what has come, and drops its body; empty at the end.
QByteArray nextHead(int socket, QByteArray &received)
{
    static const QByteArray lengthName = "\r\ncontent-length:";
    qsizetype end = -1;
    while ((end = received.indexOf("\r\n\r\n")) < 0)
        if (!receive(socket, received))
            return {};
    const QByteArray head = received.first(end + 2);
    const qsizetype length = head.toLower().indexOf(lengthName);
    const qsizetype value = length + lengthName.size();
    const qsizetype body =
        length < 0 ? 0 : head.mid(value, head.indexOf('\r', value) - value).trimmed().toLongLong();
    while (received.size() < end + 4 + body)
        if (!receive(socket, received))
            return {};
    received.remove(0, end + 4 + body);
    return head;
}

} // namespace

PlainServer::PlainServer()
    : m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{.sin_family = AF_INET,
                        .sin_port = 0,
                        .sin_addr = {.s_addr = htonl(INADDR_LOOPBACK)},
                        .sin_zero = {}};
    socklen_t size = sizeof(address);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener, generic, size) != 0 || ::listen(m_listener, SOMAXCONN) != 0
        || ::getsockname(m_listener, generic, &size) != 0)
        qFatal("no server on loopback");
    m_port = ntohs(address.sin_port);
    m_acceptor = std::thread([this] { accept(); });
}

PlainServer::~PlainServer()
{
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    for (Connection &connection : m_connections)
        ::shutdown(connection.socket, SHUT_RDWR);
    for (Connection &connection : m_connections) {
        connection.thread.join();
        ::close(connection.socket);
    }
    ::close(m_listener);
}

QUrl PlainServer::url(const QByteArray &path) const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(QString::fromUtf8(path)));
}

void PlainServer::serve(const QByteArray &path, const Body &body)
{
    const std::lock_guard lock(m_mutex);
    m_bodies.insert(path, body);
}

void PlainServer::accept()
{
    const int on = 1;
    for (;;) {
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0 && errno == EINTR)
            continue;
        if (socket < 0)
            return;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
        m_connections.push_back({socket, std::thread([this, socket] { answerAll(socket); })});
    }
}

void PlainServer::answerAll(int socket)
{
    QByteArray received;
    for (QByteArray head; !(head = nextHead(socket, received)).isEmpty();) {
        const QList<QByteArray> words = head.left(head.indexOf('\r')).split(' ');
        if (!answer(socket, words.value(0), words.value(1).split('?').first()))
            break;
    }
    ::shutdown(socket, SHUT_RDWR);
}

bool PlainServer::answer(int socket, const QByteArray &method, const QByteArray &path)
{
    std::unique_lock lock(m_mutex);
    const bool isKnown = m_bodies.contains(path);
    const Body body = m_bodies.value(path);
    lock.unlock();
    const QByteArray length = QByteArray::number(body.bytes.size() * body.repeat);
    if (!send(socket, (isKnown ? "HTTP/1.1 200 OK" : "HTTP/1.1 404 Not Found")
                          + ("\r\nContent-Length: " + length + "\r\n\r\n")))
        return false;
    auto due = std::chrono::steady_clock::now();
    for (qint64 i = 0; i < body.repeat && method != "HEAD"; ++i) {
        if (!send(socket, body.bytes))
            return false;
        std::this_thread::sleep_until(due += body.pause);
    }
    return true;
}
