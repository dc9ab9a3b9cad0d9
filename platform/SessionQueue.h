#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

class QObject;
class SessionWorker;

/// Hands work to a session's thread, in order. Work given before the worker is there waits for it,
/// work given after the end is dropped: task handles may outlive their session. Any thread.
class SessionQueue
{
public:
    using Work = std::function<void(SessionWorker &worker)>;

    void post(Work work);
    /// No work begins and nobody is told anything from now on.
    void close();
    [[nodiscard]] bool isClosed() const { return m_closed; }

    /// The object woken by an event when there is work; nullptr once its thread ends.
    void setReceiver(QObject *receiver);
    /// Does what is waiting. On the session's thread.
    void run(SessionWorker &worker);

private:
    [[nodiscard]] Work takeFirst();
    void wake();

    std::mutex m_mutex; ///< m_waiting and m_receiver
    std::deque<Work> m_waiting;
    QObject *m_receiver = nullptr;
    std::atomic<bool> m_closed = false;
};
