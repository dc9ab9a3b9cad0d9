#include "platform/SessionQueue.h"

#include <utility>

void SessionQueue::post(Work work)
{
    const std::lock_guard lock(m_mutex);
    if (m_closed)
        return;
    m_waiting.push_back(std::move(work));
    if (m_waiting.size() == 1)
        wake();
}

void SessionQueue::close()
{
    std::deque<Work> dropped; // may own the last handle of a task: gone after the lock
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    dropped.swap(m_waiting);
    wake();
}

void SessionQueue::setWaker(std::function<void()> waker)
{
    const std::lock_guard lock(m_mutex);
    m_waker = std::move(waker);
    wake();
}

void SessionQueue::run(SessionLoop &loop)
{
    while (const Work work = takeFirst())
        work(loop);
}

SessionQueue::Work SessionQueue::takeFirst()
{
    const std::lock_guard lock(m_mutex);
    if (m_waiting.empty())
        return nullptr;
    Work work = std::move(m_waiting.front());
    m_waiting.pop_front();
    return work;
}

void SessionQueue::wake()
{
    if (m_waker)
        m_waker();
}
