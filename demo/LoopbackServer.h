#pragma once

#include "demo/DemoContent.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

struct DemoRequest
{
    QByteArray method;
    QString path;
    /// The "mids" of the address; absent when the address has none or was too long to be read.
    std::optional<QString> mids;
    QByteArray body = {};
};

struct DemoAnswer
{
    int status = 200;
    QByteArray contentType = "application/octet-stream";
    QByteArray body = {};
    std::optional<DemoContent> content = std::nullopt; ///< in place of `body`
    QByteArray entityTag = {};                         ///< in quotes; empty for none
};

/// An HTTP server on 127.0.0.1 in threads of its own, which can go away and come back on its port.
class LoopbackServer
{
public:
    /// Called on the server's threads, also for two requests at once.
    using Handler = std::function<DemoAnswer(const DemoRequest &)>;

    explicit LoopbackServer(Handler handler);
    ~LoopbackServer();

    /// Listens on a free port, or on the one it had before; false when that failed.
    [[nodiscard]] bool start();
    /// Refuses connections, drops the transfers under way and waits for the threads.
    void stop();
    [[nodiscard]] bool isRunning() const;

    /// 0 before the first start.
    [[nodiscard]] int port() const;

    /// How quickly each body is sent from now on; 0 for as quickly as possible.
    void setBytesPerSecond(qint64 bytesPerSecond);

private:
    class Session;
    Handler m_handler;
    std::unique_ptr<Session> m_session;
    int m_port = 0;
    qint64 m_bytesPerSecond = 0;
};
