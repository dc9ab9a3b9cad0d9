#pragma once

#include <QCoreApplication>
#include <QObject>
#include <QPointer>
#include <QThread>

#include <chrono>
#include <functional>
#include <memory>

/// Work for the main thread's queue and for the pool. Every piece of work names the object that
/// guards it: when that object is gone, the work does not run. Guards live on the main thread; work
/// on another thread carries the QPointer that was made there.
class Dispatch
{
public:
    /// Queues `work` on the main thread, behind all that was queued this way before. Any thread.
    static void main(const QPointer<QObject> &guard, std::function<void()> work);

    /// Runs `work` on the main thread once, after `delay`. Main thread.
    static void mainAfter(std::chrono::milliseconds delay, QObject *guard,
                          std::function<void()> work);

    /// Runs `work` on the pool. What it touches must be its own; results go back through main().
    static void global(std::function<void()> work);

    /// Waits for all pool work; for the end of the program.
    static void waitForGlobalWork();

    [[nodiscard]] static bool isMainThread()
    {
        return QCoreApplication::instance() == nullptr
               || QThread::currentThread() == QCoreApplication::instance()->thread();
    }
};

/// Counts outstanding work: enter() before, leave() after. Once the count is 0, notify() has its
/// work queued on the main thread. A copy is the same group. Any thread.
class DispatchGroup
{
public:
    DispatchGroup();

    void enter();
    void leave();
    /// At most once per group.
    void notify(const QPointer<QObject> &guard, std::function<void()> work);

private:
    struct State;
    std::shared_ptr<State> m_state;
};
