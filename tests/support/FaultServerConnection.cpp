#include "tests/support/FaultServerConnection.h"

#include <QCryptographicHash>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace {

constexpr qint64 chunkSize = 64 * 1024;

qint64 wholeSize(const FaultServer::Reply &reply)
{
    return reply.body.size() * reply.repeat;
}

QByteArray entityTag(const FaultServer::Reply &reply)
{
    if (reply.etag)
        return *reply.etag;
    return '"' + QCryptographicHash::hash(reply.body, QCryptographicHash::Md5).toHex() + '"';
}

bool allowsRange(const FaultServer::Request &request, const FaultServer::Reply &reply)
{
    if (reply.status != 200 || reply.ranges == FaultServer::Ranges::Ignored
        || !request.header("Range").startsWith("bytes="))
        return false;
    const QByteArray condition = request.header("If-Range");
    return condition.isEmpty() || reply.ranges == FaultServer::Ranges::WithoutIfRange
           || condition == entityTag(reply) || condition == reply.lastModified;
}

} // namespace

FaultServer::Connection::Connection(int socket, std::stop_token stop, Handler answer)
    : m_socket(socket)
    , m_stop(std::move(stop))
    , m_answer(std::move(answer))
    , m_thread([this] { run(); })
{
}

FaultServer::Connection::~Connection()
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_socket >= 0)
            ::shutdown(m_socket, SHUT_RDWR);
    }
    m_thread.join();
}

void FaultServer::Connection::run()
{
    const int on = 1;
    ::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    while (const auto request = readRequest()) {
        if (send(*request, m_answer(*request)) == Next::End)
            break;
    }
    close();
}

std::optional<FaultServer::Request> FaultServer::Connection::readRequest()
{
    qsizetype end = -1;
    while ((end = m_received.indexOf("\r\n\r\n")) < 0) {
        if (!receive())
            return std::nullopt;
    }
    QList<QByteArray> lines = m_received.left(end).replace("\r\n", "\n").split('\n');
    const QList<QByteArray> words = lines.takeFirst().split(' ');
    Request request{.method = words.value(0), .target = words.value(1)};
    for (const QByteArray &line : std::as_const(lines)) {
        const qsizetype colon = line.indexOf(':');
        request.headers.append({line.left(colon), line.mid(colon + 1).trimmed()});
    }
    m_received.remove(0, end + 4);
    const qsizetype length = request.header("Content-Length").toLongLong();
    while (m_received.size() < length) {
        if (!receive())
            return std::nullopt;
    }
    request.body = m_received.left(length);
    m_received.remove(0, length);
    return request;
}

bool FaultServer::Connection::receive()
{
    char buffer[16 * 1024];
    ssize_t count = 0;
    do {
        count = ::recv(m_socket, buffer, sizeof(buffer), 0);
    } while (count < 0 && errno == EINTR);
    if (count > 0)
        m_received.append(buffer, count);
    return count > 0;
}

FaultServer::Connection::Part FaultServer::Connection::choosePart(const Request &request,
                                                                  const Reply &reply)
{
    const qint64 size = wholeSize(reply);
    if (!allowsRange(request, reply))
        return {reply.status, 0, size};
    const QList<QByteArray> bounds = request.header("Range").mid(6).split('-');
    const qint64 start = bounds.value(0).toLongLong();
    const qint64 last = bounds.value(1).isEmpty() ? size - 1 : bounds.value(1).toLongLong();
    if (start >= size)
        return {416, 0, 0};
    return {206, start, std::min(last + 1, size)};
}

QByteArray FaultServer::Connection::head(const Reply &reply, const Part &part) const
{
    Headers headers = reply.headers;
    const auto add = [&headers, &reply](const QByteArray &name, const QByteArray &value) {
        const Request given{.headers = reply.headers};
        if (!value.isEmpty() && !given.hasHeader(name))
            headers.append({name, value});
    };
    const QByteArray size = QByteArray::number(wholeSize(reply));
    const qint64 length = reply.announced.value_or(part.end - part.start);
    if (reply.length == Length::Announced)
        add("Content-Length", QByteArray::number(length));
    else if (reply.length == Length::Chunked)
        add("Transfer-Encoding", "chunked");
    else
        add("Connection", "close");
    add("ETag", entityTag(reply));
    add("Last-Modified", reply.lastModified);
    if (part.status == 206)
        add("Content-Range", "bytes " + QByteArray::number(part.start) + '-'
                                 + QByteArray::number(part.end - 1) + '/' + size);
    else if (part.status == 416)
        add("Content-Range", "bytes */" + size);

    QByteArray text = "HTTP/1.1 " + QByteArray::number(part.status)
                      + (part.status == 404 ? " Not Found\r\n" : " Something\r\n");
    for (const auto &[name, value] : std::as_const(headers))
        text += name + ": " + value + "\r\n";
    return text + "\r\n";
}

FaultServer::Connection::Next FaultServer::Connection::send(const Request &request,
                                                            const Reply &reply)
{
    if (reply.hold)
        reply.hold->pass(m_stop);
    m_nextPiece = Clock::now();
    if (reply.raw) {
        sendRaw(reply);
        return Next::End;
    }
    const Part part = choosePart(request, reply);
    if (!write(head(reply, part)))
        return Next::End;
    return request.method == "HEAD" ? Next::Continue : sendBody(reply, part);
}

void FaultServer::Connection::sendRaw(const Reply &reply)
{
    const qint64 slice = reply.slice > 0 ? reply.slice : std::max<qint64>(1, reply.raw->size());
    for (qint64 sent = 0; sent < reply.raw->size(); sent += slice) {
        const qint64 size = std::min(slice, reply.raw->size() - sent);
        if (m_stop.stop_requested() || !write(reply.raw->constData() + sent, size))
            return;
        pause(reply.pause);
    }
}

FaultServer::Connection::Next FaultServer::Connection::sendBody(const Reply &reply,
                                                                const Part &part)
{
    const qint64 total = part.end - part.start;
    bool pending = reply.fault != Fault::None && reply.faultAt <= total;
    for (qint64 sent = 0; sent < total || pending;) {
        if (pending && sent == reply.faultAt) {
            if (!misbehave(reply))
                return Next::End;
            pending = false;
            continue;
        }
        const qint64 offset = (part.start + sent) % reply.body.size();
        qint64 size = std::min(total - sent, reply.body.size() - offset);
        if (pending)
            size = std::min(size, reply.faultAt - sent);
        if (reply.length == Length::Chunked)
            size = std::min(size, chunkSize);
        if (reply.slice > 0)
            size = std::min(size, reply.slice);
        if (!sendPiece(reply, reply.body.constData() + offset, size))
            return Next::End;
        sent += size;
    }
    if (reply.length == Length::Chunked && !write("0\r\n\r\n"))
        return Next::End;
    const bool honest = reply.length != Length::Absent && reply.announced.value_or(total) == total;
    return honest ? Next::Continue : Next::End;
}

bool FaultServer::Connection::sendPiece(const Reply &reply, const char *data, qint64 size)
{
    if (m_stop.stop_requested())
        return false;
    if (reply.length == Length::Chunked && !write(QByteArray::number(size, 16) + "\r\n"))
        return false;
    if (!write(data, size))
        return false;
    if (reply.length == Length::Chunked && !write("\r\n"))
        return false;
    pause(reply.pause);
    return true;
}

bool FaultServer::Connection::write(const char *data, qint64 size)
{
    while (size > 0) {
        const ssize_t count = ::send(m_socket, data, static_cast<size_t>(size), MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        data += count;
        size -= count;
    }
    return true;
}

/// False when the connection has to end.
bool FaultServer::Connection::misbehave(const Reply &reply)
{
    if (reply.fault == Fault::Stall) {
        const auto gate = reply.gate ? reply.gate : std::make_shared<Gate>();
        gate->pass(m_stop);
        return !m_stop.stop_requested();
    }
    if (reply.fault == Fault::Reset) {
        const linger now{.l_onoff = 1, .l_linger = 0};
        ::setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof(now));
    }
    return false;
}

/// Until the next piece is due: a line of that speed makes up for a reader that was slow once.
void FaultServer::Connection::pause(std::chrono::milliseconds duration)
{
    m_nextPiece += duration;
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any never;
    never.wait_until(lock, m_stop, m_nextPiece, [] { return false; });
}

void FaultServer::Connection::close()
{
    const std::lock_guard lock(m_mutex);
    ::close(m_socket);
    m_socket = -1;
}
