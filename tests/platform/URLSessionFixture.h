#pragma once

#include "platform/IncomingFile.h"
#include "platform/URLSession.h"
#include "tests/support/FaultServer.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <set>
#include <thread>

/// Bytes that look different at every place.
[[nodiscard]] inline QByteArray pattern(qsizetype size, quint32 seed = 1)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = seed * 2654435761U + 1;
    for (char &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

/// What was told of one task.
struct Told
{
    struct Progress
    {
        qint64 written;
        qint64 total;
        qint64 expected;
        qint64 time; ///< milliseconds since the recorder was made
    };

    QStringList calls; ///< of which progress only where it came late
    QList<Progress> progress;
    qint64 written = 0;
    QByteArray content; ///< of the file once it was placed
    std::optional<URLError> error;
    std::optional<URLResponse> response; ///< as seen in didComplete

    [[nodiscard]] bool ended() const { return calls.contains(QStringLiteral("complete")); }
    [[nodiscard]] int status() const { return response ? response->statusCode : 0; }
    [[nodiscard]] QString errorText() const { return error ? error->description : QString(); }
    [[nodiscard]] bool isResumable() const { return error && error->rest; }
};

/// Places what a session has loaded and writes down what it tells. The hooks run on the session's
/// thread, inside the calls.
class TransferRecorder : public URLSessionDownloadDelegate
{
public:
    using Task = std::shared_ptr<URLSessionDownloadTask>;

    TransferRecorder() { m_clock.start(); }

    void didWriteData(const Task &task, qint64 written, qint64 total, qint64 expected) override
    {
        note(task, [&](Told &told) {
            told.progress.append({written, total, expected, m_clock.elapsed()});
            told.written += written;
            if (!told.calls.isEmpty())
                told.calls.append(QStringLiteral("wrote"));
        });
        onWrite(task);
    }
    void didFinishDownloading(const Task &task, const std::shared_ptr<IncomingFile> &file) override
    {
        const FileFailure problem = file->place(task->stopToken());
        QFile placed(task->request().target);
        note(task, [&](Told &told) {
            told.calls.append(problem ? problem.text : QStringLiteral("finished"));
            told.content = placed.open(QIODevice::ReadOnly) ? placed.readAll() : "unreadable";
        });
        placed.remove();
        onFinish(task);
    }
    void didFinishCollectingMetrics(const Task &task) override
    {
        note(task, [](Told &told) { told.calls.append(QStringLiteral("metrics")); });
    }
    void didComplete(const Task &task, const std::optional<URLError> &error) override
    {
        note(task, [&](Told &told) {
            told.calls.append(QStringLiteral("complete"));
            told.error = error;
            told.response = task->response();
        });
    }

    [[nodiscard]] Told of(const Task &task) const
    {
        const std::lock_guard lock(m_mutex);
        return m_told.contains(task) ? m_told.at(task) : Told();
    }
    [[nodiscard]] bool waitForEnd(const Task &task) const
    {
        return QTest::qWaitFor([&] { return of(task).ended(); }, 30'000);
    }
    /// Lets go of all that was told, the rests of broken transfers too.
    void forget()
    {
        const std::lock_guard lock(m_mutex);
        m_told.clear();
    }

    std::function<void(const Task &task)> onWrite = [](const Task &) {
    };
    std::function<void(const Task &task)> onFinish = onWrite;
    std::set<std::thread::id> threads; ///< those that calls came on; to be read behind the last

private:
    template <typename Change>
    void note(const Task &task, const Change &change)
    {
        const std::lock_guard lock(m_mutex);
        threads.insert(std::this_thread::get_id());
        change(m_told[task]);
    }

    mutable std::mutex m_mutex;
    QElapsedTimer m_clock;
    std::map<Task, Told> m_told;
};

inline const QStringList success{QStringLiteral("finished"), QStringLiteral("metrics"),
                                 QStringLiteral("complete")};
inline const QStringList failure{QStringLiteral("metrics"), QStringLiteral("complete")};
constexpr qsizetype mebibyte = 1024 * 1024;

/// A session, a server and a temporary folder of their own.
class URLSessionFixture : public testing::Test
{
protected:
    using Fault = FaultServer::Fault;
    using Gate = FaultServer::Gate;
    using Length = FaultServer::Length;
    using Ranges = FaultServer::Ranges;
    using Reply = FaultServer::Reply;
    using Task = TransferRecorder::Task;

    URLSessionFixture()
    {
        qputenv("TMPDIR", temporary.path().toUtf8());
        session = std::make_unique<URLSession>(&recorder);
    }
    ~URLSessionFixture() override
    {
        session.reset();
        qunsetenv("TMPDIR");
    }

    [[nodiscard]] Task newTask(const QByteArray &path)
    {
        return session->downloadTask({server.url(path), target});
    }
    /// A download under way.
    [[nodiscard]] Task begin(const QByteArray &path = "/file")
    {
        auto task = newTask(path);
        task->resume();
        return task;
    }
    [[nodiscard]] Told download(const QUrl &url)
    {
        return run(session->downloadTask({url, target}));
    }
    [[nodiscard]] Told download(const QByteArray &path) { return download(server.url(path)); }
    /// Goes on with what the failed transfer left.
    [[nodiscard]] Told resume(const Told &failed, const QByteArray &path = "/file",
                              qint64 size = -1)
    {
        return run(session->downloadTask({server.url(path), target, size, -1, failed.error->rest}));
    }
    [[nodiscard]] Told run(const Task &task)
    {
        task->resume();
        EXPECT_TRUE(recorder.waitForEnd(task));
        return recorder.of(task);
    }
    [[nodiscard]] DataTaskResult fetch(const URLRequest &request)
    {
        const auto told = std::make_shared<std::promise<DataTaskResult>>(); // bears it once
        session->dataTask(request,
                          [told](const DataTaskResult &result) { told->set_value(result); });
        return told->get_future().get();
    }
    [[nodiscard]] DataTaskResult fetch(const QByteArray &path, const QByteArray &method = "GET")
    {
        return fetch({server.url(path), method, {}, {}});
    }
    /// A server that does not answer before the gate is open.
    void serveHeld() { server.serve("/held", {.body = "x", .hold = gate}); }
    /// What lies in the target's folder, hidden files too.
    [[nodiscard]] QStringList files() const
    {
        return QDir(temporary.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    void writeOldFile() const
    {
        QFile file(target);
        ASSERT_TRUE(file.open(QFile::WriteOnly) && file.write("old") > 0);
    }

    const std::shared_ptr<Gate> gate = std::make_shared<Gate>();

    QTemporaryDir temporary;
    const QString target = temporary.filePath(QStringLiteral("target"));
    FaultServer server;
    TransferRecorder recorder;
    std::unique_ptr<URLSession> session;
};
