#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QUrl>

#include <chrono>
#include <list>
#include <mutex>
#include <thread>

/// An HTTP server on 127.0.0.1 in threads of its own that sends what it was given, as quickly as
/// the connection takes it. What is not served answers 404; queries count for nothing.
class PlainServer
{
public:
    struct Body
    {
        QByteArray bytes;
        qint64 repeat = 1;                  ///< the body is `bytes` this many times ...
        std::chrono::milliseconds pause{0}; ///< ... with this long from one to the next
    };

    PlainServer();
    /// Ends every connection and waits for the threads.
    ~PlainServer();
    PlainServer(const PlainServer &) = delete;
    PlainServer &operator=(const PlainServer &) = delete;

    [[nodiscard]] QUrl url(const QByteArray &path) const;
    /// Later calls replace earlier ones. Any thread.
    void serve(const QByteArray &path, const Body &body);

private:
    struct Connection
    {
        int socket;
        std::thread thread;
    };

    void accept();
    void answerAll(int socket);
    [[nodiscard]] bool answer(int socket, const QByteArray &method, const QByteArray &path);

    int m_listener = -1;
    int m_port = 0;
    std::mutex m_mutex; ///< for the bodies
    QHash<QByteArray, Body> m_bodies;
    std::list<Connection> m_connections; ///< the accepting thread's
    std::thread m_acceptor;
};
