#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QTest>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <thread>
#include <utility>
#include <vector>

/// An HTTP server on 127.0.0.1 that misbehaves exactly as it is told. It has threads of its own and
/// needs no event loop. What is not served answers 404.
///
///     server.serve("/1/12/12.qnk", content);                         // healthy, knows ranges
///     server.serve("/12.png", {.body = picture, .fault = Fault::Close, .faultAt = 10});
///     server.serveInTurn("/versions", {{.status = 500, .body = "oh no"}, {.body = "{}"}});
class FaultServer
{
public:
    using Headers = QList<std::pair<QByteArray, QByteArray>>;

    struct Request
    {
        QByteArray method = {};
        QByteArray target = {}; ///< as sent, with its query
        Headers headers = {};
        QByteArray body = {};

        [[nodiscard]] QByteArray path() const { return target.split('?').first(); }
        [[nodiscard]] QByteArray header(const QByteArray &name) const; ///< null when absent
        bool hasHeader(const QByteArray &name) const { return !header(name).isNull(); }
    };

    /// Where a connection waits until the test lets it go on. The server's end opens it, too.
    class Gate
    {
    public:
        void open()
        {
            const std::lock_guard lock(m_mutex);
            m_open = true;
            m_changed.notify_all();
        }
        /// Waits until a connection stands at the gate; the event loop runs meanwhile.
        [[nodiscard]] bool waitUntilReached() const
        {
            return QTest::qWaitFor([this] { return m_reached.load(); }, patience);
        }

    private:
        friend class FaultServer;
        void pass(const std::stop_token &stop)
        {
            std::unique_lock lock(m_mutex);
            m_reached = true;
            m_changed.wait(lock, stop, [this] { return m_open; });
        }

        std::mutex m_mutex;
        std::condition_variable_any m_changed;
        bool m_open = false;
        std::atomic<bool> m_reached = false;
    };

    enum class Fault {
        None,
        Close, ///< the connection ends
        Stall, ///< silence until the gate opens, then the rest follows
    };
    enum class Length {
        Announced, ///< Content-Length
        Absent,    ///< the end of the connection ends the body
        Chunked,   ///< in chunks of 64 KiB
    };
    enum class Ranges {
        Honoured,       ///< Range, and If-Range with the present validators
        Ignored,        ///< always the whole with 200
        WithoutIfRange, ///< 206 even when If-Range names another version
    };

    /// A field left alone stands for a healthy answer. A header given in `headers` goes before the
    /// one the server would write itself.
    struct Reply
    {
        int status = 200;
        Headers headers = {};
        QByteArray body = {};
        qint64 repeat = 1;                             ///< the body is `body` this many times
        std::optional<QByteArray> etag = std::nullopt; ///< absent: made of the body; empty: none
        QByteArray lastModified = {};                  ///< empty: none
        Ranges ranges = Ranges::Honoured;
        Length length = Length::Announced;
        std::optional<qint64> announced = std::nullopt; ///< a wrong Content-Length
        Fault fault = Fault::None;
        qint64 faultAt = 0; ///< after this many bytes of the body of this answer
        std::shared_ptr<Gate> gate = std::make_shared<Gate>(); ///< for Stall
        std::shared_ptr<Gate> hold = {};    ///< passed before the first byte of the answer
        qint64 slice = 0;                   ///< a slow server: this many bytes at a time ...
        std::chrono::milliseconds pause{0}; ///< ... and this long between them
        std::optional<QByteArray> raw = std::nullopt; ///< these bytes and the end, nothing else

        [[nodiscard]] static Reply redirect(const QByteArray &location, int status = 302);
        [[nodiscard]] static Reply closeBeforeHeader() { return {.raw = QByteArray()}; }
    };

    /// Runs on a thread of the server, one call at a time.
    using Handler = std::function<Reply(const Request &request)>;

    FaultServer();
    /// Ends every connection and waits for the threads.
    ~FaultServer();
    FaultServer(const FaultServer &) = delete;
    FaultServer &operator=(const FaultServer &) = delete;

    [[nodiscard]] QUrl url(const QByteArray &path) const
    {
        return QUrl(address(path), QUrl::StrictMode);
    }
    /// The same as text, for prefixes: address("/files/").
    [[nodiscard]] QString address(const QByteArray &path) const
    {
        return QStringLiteral("http://127.0.0.1:%1").arg(m_port) + QString::fromLatin1(path);
    }

    /// `path` is a whole target with its query, or a path, which then stands for every query.
    /// Later calls replace earlier ones. Any thread.
    void serve(const QByteArray &path, const QByteArray &body) { serve(path, Reply{.body = body}); }
    void serve(const QByteArray &path, const char *body) { serve(path, QByteArray(body)); }
    void serve(const QByteArray &path, const Reply &reply) { serveInTurn(path, {reply}); }
    /// The last reply stays.
    void serveInTurn(const QByteArray &path, const QList<Reply> &replies);
    void on(const QByteArray &path, const Handler &handler);

    /// In the order of arrival; those for this path, whatever their query, or all.
    [[nodiscard]] QList<Request> requests(const QByteArray &path = {}) const;
    /// Waits until at least `count` of them came; the event loop runs meanwhile.
    [[nodiscard]] bool waitForRequests(const QByteArray &path, qsizetype count) const
    {
        return QTest::qWaitFor([&] { return requests(path).size() >= count; }, patience);
    }
    void forgetRequests()
    {
        const std::lock_guard lock(m_mutex);
        m_requests.clear();
    }
    /// How many came so far.
    [[nodiscard]] int connections() const { return m_connectionCount; }

private:
    static constexpr int patience = 10'000;

    class Connection;

    void acceptConnections();
    [[nodiscard]] Reply answer(const Request &request);

    int m_port = 0; ///< before the socket, which fills it in
    int m_listener = -1;
    mutable std::mutex m_mutex; ///< what follows
    QHash<QByteArray, std::shared_ptr<Handler>> m_handlers;
    QList<Request> m_requests;
    std::mutex m_handlerMutex; ///< one handler at a time
    std::stop_source m_stop;
    std::atomic<int> m_connectionCount = 0;
    std::vector<std::unique_ptr<Connection>> m_connections; ///< touched by the accepting thread
    std::thread m_acceptor;
};
