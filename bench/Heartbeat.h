#pragma once

#include <QObject>

#include <atomic>
#include <semaphore>
#include <thread>

/// Asks the main thread again and again to answer, from a thread of its own. The longest wait for
/// an answer is the longest time that a click of the person would have had to wait.
class Heartbeat : public QObject
{
    Q_OBJECT

public:
    Heartbeat();
    ~Heartbeat() override;

    /// In milliseconds.
    [[nodiscard]] double longestWait() const { return m_longest; }

protected:
    void customEvent(QEvent *event) override;

private:
    void beat(const std::stop_token &stop);

    std::atomic<double> m_asked = 0;
    std::atomic<double> m_longest = 0;
    std::counting_semaphore<> m_answered{0};
    std::jthread m_thread;
};
