#include "tests/platform/URLSessionFixture.h"

#include <semaphore>

namespace {

class URLSessionCancelTest : public URLSessionFixture
{
protected:
    void expectCancelled(const Task &task)
    {
        ASSERT_TRUE(recorder.waitForEnd(task));
        const Told told = recorder.of(task);
        EXPECT_EQ(told.calls + files(), failure);
        EXPECT_EQ(told.errorText(), QStringLiteral("Abgebrochen"));
        EXPECT_EQ(told.error->kind, URLError::Kind::Cancelled);
        EXPECT_FALSE(told.isResumable());
    }

    /// Serves a body that stops in the middle until the gate is opened.
    void serveStalled()
    {
        server.serve("/file", {.body = pattern(4 * mebibyte),
                               .fault = Fault::Stall,
                               .faultAt = 2 * mebibyte,
                               .gate = gate});
    }
};

TEST_F(URLSessionCancelTest, BeforeItBeganRightAfterOrBeforeTheAnswer)
{
    serveStalled();
    const auto task = newTask("/file");
    task->cancel();
    task->resume();
    expectCancelled(task);
    EXPECT_EQ(server.requests("/file").size(), 0);
    const auto begun = begin();
    begun->cancel();
    expectCancelled(begun);
    serveHeld();
    const auto asked = begin("/held");
    ASSERT_TRUE(gate->waitUntilReached());
    asked->cancel();
    expectCancelled(asked);
    EXPECT_FALSE(recorder.of(asked).response);
}

TEST_F(URLSessionCancelTest, InTheBodyAloneThenAllTasks)
{
    serveStalled();
    serveHeld();
    const auto task = begin();
    const auto other = begin();
    const auto idle = newTask("/file");
    std::atomic<bool> told = false;
    session->dataTask({server.url("/held"), "GET", {}, {}}, [&](const DataTaskResult &result) {
        EXPECT_EQ(result.error, QStringLiteral("Abgebrochen"));
        told = true;
    });
    ASSERT_TRUE(server.waitForRequests({}, 3));
    for (const auto &loading : {task, other})
        ASSERT_TRUE(QTest::qWaitFor([&] { return !recorder.of(loading).progress.isEmpty(); }));
    task->cancel();
    task->cancel();
    ASSERT_TRUE(recorder.waitForEnd(task));
    EXPECT_EQ(recorder.of(task).status(), 200);
    EXPECT_EQ(files().size(), 1);
    EXPECT_FALSE(recorder.of(other).ended() || told);
    session->cancelAllTasks();
    expectCancelled(other);
    expectCancelled(task);
    EXPECT_TRUE(QTest::qWaitFor([&] { return told.load(); }));
    EXPECT_EQ(recorder.of(idle).calls, QStringList());
}

using URLSessionThreadTest = URLSessionCancelTest;

TEST_F(URLSessionThreadTest, EverythingIsToldOnOneThreadWhereverItWasAsked)
{
    server.serve("/file", pattern(4 * mebibyte));
    QList<Task> tasks;
    for (int count = 0; count < 8; ++count)
        tasks.append(begin(count % 2 == 0 ? "/file" : "/missing"));
    std::atomic<int> told = 0;
    std::set<std::thread::id> dataThreads; // the one thread's until all have told
    const auto note = [&](const DataTaskResult &) {
        dataThreads.insert(std::this_thread::get_id());
        ++told;
    };
    std::vector<std::jthread> askers;
    for (int count = 0; count < 4; ++count)
        askers.emplace_back([&] {
            for (int request = 0; request < 10; ++request)
                session->dataTask({server.url("/file"), "HEAD", {}, {}}, note);
        });
    askers.clear();
    for (const auto &task : std::as_const(tasks))
        EXPECT_TRUE(recorder.waitForEnd(task));
    ASSERT_TRUE(QTest::qWaitFor([&] { return told == 40; }, 20'000));
    EXPECT_EQ(dataThreads.size(), 1);
    EXPECT_EQ(recorder.threads, dataThreads);
    EXPECT_FALSE(dataThreads.contains(std::this_thread::get_id()));
}

TEST_F(URLSessionThreadTest, TheEndTellsNobodyAlsoRightAfterTheStart)
{
    serveStalled();
    serveHeld();
    const auto task = begin();
    std::atomic<bool> told = false;
    session->dataTask({server.url("/held"), "GET", {}, {}},
                      [&](const DataTaskResult &) { told = true; });
    ASSERT_TRUE(server.waitForRequests({}, 2));
    session.reset();
    const auto progress = recorder.of(task).progress.size();
    gate->open();
    task->cancel();
    task->resume();
    EXPECT_EQ(recorder.of(task).progress.size(), progress);
    EXPECT_EQ(recorder.of(task).calls + files(), QStringList());
    EXPECT_FALSE(told);
    for (int round = 0; round < 50; ++round) {
        session = std::make_unique<URLSession>(&recorder);
        const auto begun = begin();
        session->dataTask({server.url("/file"), "HEAD", {}, {}}, [](const DataTaskResult &) {});
        session.reset();
        EXPECT_EQ(recorder.of(begun).calls + files(), QStringList());
    }
}

/// Ends the session while one of its callbacks is under way.
class URLSessionEndTest : public URLSessionCancelTest
{
protected:
    /// In the callback: stays until the session has begun to end, and drops what waits.
    void waitForTheEnd()
    {
        m_entered.release();
        const auto waiting = std::make_shared<int>();
        m_ending->async([waiting] {});
        while (waiting.use_count() > 1)
            std::this_thread::yield();
        m_left = true;
    }

    void endInTheCallback()
    {
        m_entered.acquire();
        session.reset();
        EXPECT_TRUE(m_left.exchange(false));
        EXPECT_EQ(files(), QStringList());
    }

    void renew()
    {
        session = std::make_unique<URLSession>(&recorder);
        m_ending = session.get();
    }

private:
    std::binary_semaphore m_entered{0};
    std::atomic<bool> m_left = false;
    URLSession *m_ending = session.get();
};

TEST_F(URLSessionEndTest, WaitsForWhatIsBeingToldAndTellsNoMore)
{
    server.serve("/file", pattern(1000));
    recorder.onFinish = [this](const Task &) {
        waitForTheEnd();
    };
    const auto finished = begin();
    endInTheCallback();
    EXPECT_EQ(recorder.of(finished).calls, success.first(1));
    renew();
    recorder.onWrite = recorder.onFinish;
    const auto begun = begin();
    endInTheCallback();
    EXPECT_EQ(recorder.of(begun).progress.size(), 1);
    EXPECT_EQ(recorder.of(begun).calls, QStringList());
    renew();
    serveHeld();
    std::atomic<int> told = 0;
    for (int count = 0; count < 2; ++count) {
        session->dataTask({server.url("/held"), "GET", {}, {}}, [&](const DataTaskResult &) {
            ++told;
            waitForTheEnd();
        });
    }
    ASSERT_TRUE(server.waitForRequests("/held", 2));
    gate->open();
    endInTheCallback();
    EXPECT_EQ(told, 1);
}

} // namespace
