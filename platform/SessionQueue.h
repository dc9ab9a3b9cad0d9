#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <mutex>

class SessionLoop;

/// Hands work to a session's thread, in order. Work given before the loop is there waits for it,
/// work given after the end is dropped: task handles may outlive their session. Any thread.
class SessionQueue
{
public:
    using Work = std::function<void(SessionLoop &loop)>;

    void post(Work work);
    /// No work begins and nobody is told anything from now on; the loop ends.
    void close();
    [[nodiscard]] bool isClosed() const { return m_closed; }

    /// Wakes the loop when there is work or the end has come; empty once the loop has gone.
    void setWaker(std::function<void()> waker);
    /// Does what is waiting. On the session's thread.
    void run(SessionLoop &loop);

private:
    [[nodiscard]] Work takeFirst();
    void wake();

    std::mutex m_mutex; ///< m_waiting and m_waker
    std::deque<Work> m_waiting;
    std::function<void()> m_waker;
    std::atomic<bool> m_closed = false;
};
