#include "platform/Dispatch.h"

#include <QMutex>
#include <QThreadPool>
#include <QTimer>

#include <deque>
#include <mutex>
#include <utility>

namespace {

/// Work on its way to another thread. Qt only wakes that thread: the work itself changes hands
/// under a lock of ours, which tools that look for races can see, unlike those inside Qt.
class WorkQueue
{
public:
    using Work = std::function<void()>;

    WorkQueue() = default;
    ~WorkQueue() { clear(); }
    WorkQueue(const WorkQueue &) = delete;
    WorkQueue &operator=(const WorkQueue &) = delete;

    void add(Work work)
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(work));
    }

    void runFirst()
    {
        if (const Work work = takeFirst())
            work();
    }

    void clear()
    {
        std::deque<Work> dropped; // gone after the lock: what it owns may add work
        const std::lock_guard lock(m_mutex);
        dropped.swap(m_waiting);
    }

private:
    Work takeFirst()
    {
        const std::lock_guard lock(m_mutex);
        if (m_waiting.empty())
            return nullptr;
        Work work = std::move(m_waiting.front());
        m_waiting.pop_front();
        return work;
    }

    std::mutex m_mutex;
    std::deque<Work> m_waiting;
};

WorkQueue &mainWork()
{
    static WorkQueue queue;
    return queue;
}

WorkQueue &poolWork()
{
    static WorkQueue queue;
    return queue;
}

/// Runs one piece of main work for every event it gets.
class MainReceiver : public QObject
{
public:
    MainReceiver()
    {
        moveToThread(QCoreApplication::instance()->thread());
        // What the event loop will not run any more goes with the application.
        qAddPostRoutine([] { mainWork().clear(); });
    }

protected:
    void customEvent(QEvent *) override { mainWork().runFirst(); }
};

} // namespace

void Dispatch::main(const QPointer<QObject> &guard, std::function<void()> work)
{
    static MainReceiver receiver;
    mainWork().add([guard, work = std::move(work)] {
        if (guard)
            work();
    });
    QCoreApplication::postEvent(&receiver, new QEvent(QEvent::User));
}

void Dispatch::mainAfter(std::chrono::milliseconds delay, QObject *guard,
                         std::function<void()> work)
{
    QTimer::singleShot(delay, guard, std::move(work));
}

namespace {

/// Not the toolkit's own pool, on which painting waits: a pen that does not answer must not hold up
/// the windows.
QThreadPool &pool()
{
    static QThreadPool pool;
    return pool;
}

} // namespace

void Dispatch::global(std::function<void()> work)
{
    poolWork().add(std::move(work));
    pool().start([] { poolWork().runFirst(); });
}

void Dispatch::waitForGlobalWork()
{
    pool().waitForDone();
}

struct DispatchGroup::State
{
    QMutex mutex;
    int outstanding = 0;
    QPointer<QObject> guard;
    std::function<void()> work;

    /// Hands the work over once it is set and nothing is outstanding. Called with the lock held.
    void runWhenEmpty()
    {
        if (outstanding == 0 && work)
            Dispatch::main(guard, std::exchange(work, nullptr));
    }
};

DispatchGroup::DispatchGroup()
    : m_state(std::make_shared<State>())
{
}

void DispatchGroup::enter()
{
    const QMutexLocker locker(&m_state->mutex);
    ++m_state->outstanding;
}

void DispatchGroup::leave()
{
    const QMutexLocker locker(&m_state->mutex);
    --m_state->outstanding;
    m_state->runWhenEmpty();
}

void DispatchGroup::notify(const QPointer<QObject> &guard, std::function<void()> work)
{
    const QMutexLocker locker(&m_state->mutex);
    m_state->guard = guard;
    m_state->work = std::move(work);
    m_state->runWhenEmpty();
}
