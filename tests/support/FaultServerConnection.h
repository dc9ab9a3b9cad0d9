#pragma once

#include "tests/support/FaultServer.h"

/// One connection of the server with its thread; serves request after request until a fault or
/// the client ends it.
class FaultServer::Connection
{
public:
    Connection(int socket, std::stop_token stop, Handler answer);
    ~Connection();
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

private:
    /// The bytes of the whole body that an answer carries.
    struct Part
    {
        int status;
        qint64 start;
        qint64 end;
    };
    enum class Next { Continue, End };
    using Clock = std::chrono::steady_clock;

    void run();
    [[nodiscard]] std::optional<Request> readRequest();
    [[nodiscard]] bool receive();
    [[nodiscard]] Next send(const Request &request, const Reply &reply);
    [[nodiscard]] QByteArray head(const Reply &reply, const Part &part) const;
    [[nodiscard]] Next sendBody(const Reply &reply, const Part &part);
    void sendRaw(const Reply &reply);
    [[nodiscard]] bool sendPiece(const Reply &reply, const char *data, qint64 size);
    [[nodiscard]] bool write(const char *data, qint64 size);
    [[nodiscard]] bool write(const QByteArray &data)
    {
        return write(data.constData(), data.size());
    }
    [[nodiscard]] bool misbehave(const Reply &reply);
    void pause(std::chrono::milliseconds duration);
    void close();

    [[nodiscard]] static Part choosePart(const Request &request, const Reply &reply);

    std::mutex m_mutex; ///< m_socket, which the thread closes and the destructor shuts down
    int m_socket;
    std::stop_token m_stop;
    Handler m_answer;
    QByteArray m_received;
    Clock::time_point m_nextPiece;
    std::thread m_thread;
};
