#include "tests/platform/URLSessionFixture.h"

#include <QCoreApplication>
#include <QTest>

#include <atomic>
#include <semaphore>

namespace {

class URLSessionCancelTest : public URLSessionFixture
{
protected:
    void expectCancelled(const TransferRecorder::Task &task)
    {
        ASSERT_TRUE(recorder.waitForEnd(task));
        const Told told = recorder.of(task);
        EXPECT_EQ(told.calls, failure);
        EXPECT_EQ(told.errorText(), QStringLiteral("Abgebrochen"));
        EXPECT_EQ(told.error->kind, URLError::Kind::Cancelled);
        EXPECT_FALSE(told.isResumable());
        EXPECT_EQ(files(), QStringList());
    }

    /// Serves a body that stops in the middle until the gate is opened.
    void serveStalled(const QByteArray &path)
    {
        server.serve(path, {.body = pattern(4 * mebibyte),
                            .fault = Fault::Stall,
                            .faultAt = 2 * mebibyte,
                            .gate = gate});
    }

    const std::shared_ptr<Gate> gate = std::make_shared<Gate>();
};

TEST_F(URLSessionCancelTest, BeforeItBegan)
{
    const auto task = newTask("/file");
    task->cancel();
    task->resume();
    expectCancelled(task);
    EXPECT_EQ(server.requests("/file").size(), 0);
}

TEST_F(URLSessionCancelTest, RightAfterTheStart)
{
    const auto task = begin("/file");
    task->cancel();
    expectCancelled(task);
}

TEST_F(URLSessionCancelTest, BeforeTheAnswer)
{
    server.serve("/file", {.body = "x", .hold = gate});
    const auto task = begin("/file");
    ASSERT_TRUE(gate->waitUntilReached());
    task->cancel();
    expectCancelled(task);
    EXPECT_FALSE(recorder.of(task).response);
}

TEST_F(URLSessionCancelTest, InTheBody)
{
    serveStalled("/file");
    const auto task = begin("/file");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !recorder.of(task).progress.isEmpty(); }, 10'000));
    task->cancel();
    task->cancel();
    expectCancelled(task);
    EXPECT_EQ(recorder.of(task).response->statusCode, 200);
}

TEST_F(URLSessionCancelTest, FromACallback)
{
    server.serve("/file", {.body = pattern(mebibyte), .repeat = 512});
    recorder.onWrite = [](const auto &task) {
        task->cancel();
    };
    const auto task = begin("/file");
    expectCancelled(task);
    EXPECT_LT(recorder.of(task).written(), 512 * mebibyte);
}

TEST_F(URLSessionCancelTest, LeavesTheOthersAlone)
{
    serveStalled("/file");
    const auto other = begin("/file");
    const auto cancelled = begin("/file");
    ASSERT_TRUE(server.waitForRequests("/file", 2));
    cancelled->cancel();
    ASSERT_TRUE(recorder.waitForEnd(cancelled));
    EXPECT_EQ(recorder.of(cancelled).errorText(), QStringLiteral("Abgebrochen"));
    gate->open();
    ASSERT_TRUE(recorder.waitForEnd(other));
    EXPECT_TRUE(recorder.of(other).content == pattern(4 * mebibyte));
}

TEST_F(URLSessionCancelTest, AllTasks)
{
    serveStalled("/file");
    server.serve("/data", {.body = "x", .hold = gate});
    const auto first = begin("/file");
    const auto second = begin("/file");
    const auto idle = newTask("/file");
    std::atomic<bool> told = false;
    session->dataTask({server.url("/data"), "GET", {}, {}}, [&](const DataTaskResult &result) {
        EXPECT_EQ(result.error, QStringLiteral("Abgebrochen"));
        told = true;
    });
    ASSERT_TRUE(server.waitForRequests(3));
    session->cancelAllTasks();
    ASSERT_TRUE(recorder.waitForEnd(first));
    expectCancelled(second);
    expectCancelled(first);
    EXPECT_TRUE(QTest::qWaitFor([&] { return told.load(); }, 10'000));
    EXPECT_EQ(recorder.of(idle).calls, QStringList());
}

using URLSessionThreadTest = URLSessionCancelTest;

TEST_F(URLSessionThreadTest, EverythingIsToldOnOneThreadThatIsNotOurs)
{
    server.serve("/file", pattern(4 * mebibyte));
    QList<TransferRecorder::Task> tasks;
    for (int count = 0; count < 8; ++count)
        tasks.append(begin(count % 2 == 0 ? "/file" : "/missing"));
    std::mutex mutex;
    std::optional<std::thread::id> dataThread;
    session->dataTask({server.url("/file"), "GET", {}, {}}, [&](const DataTaskResult &) {
        const std::lock_guard lock(mutex);
        dataThread = std::this_thread::get_id();
    });
    for (const auto &task : std::as_const(tasks))
        EXPECT_TRUE(recorder.waitForEnd(task));
    const auto wasTold = [&] {
        const std::lock_guard lock(mutex);
        return dataThread.has_value();
    };
    ASSERT_TRUE(QTest::qWaitFor(wasTold, 10'000));
    ASSERT_TRUE(recorder.thread());
    EXPECT_EQ(recorder.thread(), dataThread);
    EXPECT_NE(*recorder.thread(), std::this_thread::get_id());
}

TEST_F(URLSessionThreadTest, TasksMayComeFromAnyThread)
{
    server.serve("/data", "x");
    std::atomic<int> told = 0;
    std::vector<std::thread> threads;
    for (int count = 0; count < 4; ++count) {
        threads.emplace_back([&] {
            for (int request = 0; request < 10; ++request) {
                session->dataTask(
                    {server.url("/data"), "GET", {}, {}},
                    [&](const DataTaskResult &result) { told += result.data == "x"; });
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_TRUE(QTest::qWaitFor([&] { return told == 40; }, 20'000));
}

TEST_F(URLSessionThreadTest, TheEndTellsNobody)
{
    serveStalled("/file");
    server.serve("/data", {.body = "x", .hold = gate});
    const auto task = begin("/file");
    std::atomic<bool> told = false;
    session->dataTask({server.url("/data"), "GET", {}, {}},
                      [&](const DataTaskResult &) { told = true; });
    ASSERT_TRUE(server.waitForRequests(2));
    session.reset();
    const int calls = recorder.calls();
    gate->open();
    task->cancel();
    task->resume();
    QCoreApplication::processEvents();
    EXPECT_FALSE(recorder.of(task).ended);
    EXPECT_EQ(recorder.calls(), calls);
    EXPECT_FALSE(told);
    EXPECT_EQ(files(), QStringList());
}

TEST_F(URLSessionThreadTest, TheEndRightAfterTheStart)
{
    serveStalled("/file");
    for (int round = 0; round < 50; ++round) {
        const auto task = begin("/file");
        session->dataTask({server.url("/file"), "HEAD", {}, {}}, [](const DataTaskResult &) {});
        session.reset();
        EXPECT_FALSE(recorder.of(task).ended);
        session = std::make_unique<URLSession>(&recorder);
    }
    session.reset();
    EXPECT_EQ(files(), QStringList());
}

/// Called on the session's thread: stays until the session has begun to end, and drops what waits.
void waitForTheEnd(URLSession &session)
{
    const auto waiting = std::make_shared<int>();
    session.async([waiting] {});
    while (waiting.use_count() > 1)
        std::this_thread::yield();
}

TEST_F(URLSessionThreadTest, TheEndWaitsForProgressUnderWayAndTellsNoMore)
{
    serveStalled("/file");
    std::binary_semaphore entered(0);
    std::atomic<bool> left = false;
    recorder.onWrite = [&, &ending = *session](const auto &) {
        entered.release();
        waitForTheEnd(ending);
        left = true;
    };
    const auto task = begin("/file");
    entered.acquire();
    session.reset();
    EXPECT_TRUE(left);
    EXPECT_EQ(recorder.of(task).progress.size(), 1);
    EXPECT_EQ(recorder.of(task).calls, QStringList());
    EXPECT_EQ(files(), QStringList());
}

TEST_F(URLSessionThreadTest, TheEndWaitsForAFinishedFileAndTellsNoMore)
{
    server.serve("/file", pattern(1000));
    std::binary_semaphore entered(0);
    recorder.onFinish = [&, &ending = *session] {
        entered.release();
        waitForTheEnd(ending);
    };
    const auto task = begin("/file");
    entered.acquire();
    session.reset();
    EXPECT_EQ(recorder.of(task).calls, QStringList(QStringLiteral("finished")));
    EXPECT_EQ(files(), QStringList());
}

TEST_F(URLSessionThreadTest, TheEndWaitsForADataCompletionAndRunsNoOther)
{
    server.serve("/data", {.body = "x", .hold = gate});
    std::binary_semaphore entered(0);
    std::atomic<int> told = 0;
    for (int count = 0; count < 2; ++count) {
        session->dataTask({server.url("/data"), "GET", {}, {}},
                          [&, &ending = *session](const DataTaskResult &) {
                              ++told;
                              entered.release();
                              waitForTheEnd(ending);
                          });
    }
    ASSERT_TRUE(server.waitForRequests(2));
    gate->open();
    entered.acquire();
    session.reset();
    EXPECT_EQ(told, 1);
}

} // namespace
