#include "tests/platform/URLSessionFixture.h"

#include "platform/IncomingFile.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <atomic>
#include <numeric>

namespace {

constexpr int patience = 30'000;

} // namespace

QByteArray pattern(qsizetype size, quint32 seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = seed * 2654435761U + 1;
    for (char &byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

qint64 Told::written() const
{
    return std::accumulate(progress.begin(), progress.end(), qint64(0),
                           [](qint64 sum, const Progress &step) { return sum + step.written; });
}

Told &TransferRecorder::note(const Task &task)
{
    m_threads.insert(std::this_thread::get_id());
    return m_told[task];
}

void TransferRecorder::didWriteData(const Task &task, qint64 written, qint64 total, qint64 expected)
{
    {
        const std::lock_guard lock(m_mutex);
        Told &told = note(task);
        told.progress.append({written, total, expected, m_clock.elapsed()});
        if (!told.calls.isEmpty())
            told.calls.append(QStringLiteral("wrote"));
    }
    if (onWrite)
        onWrite(task);
}

void TransferRecorder::didFinishDownloading(const Task &task,
                                            const std::shared_ptr<IncomingFile> &file)
{
    const FileFailure problem = file->place(task->stopToken());
    QFile placed(task->request().target);
    {
        const std::lock_guard lock(m_mutex);
        Told &told = note(task);
        told.calls.append(problem ? problem.text : QStringLiteral("finished"));
        told.content = placed.open(QIODevice::ReadOnly) ? placed.readAll() : "unreadable";
    }
    placed.remove();
    if (onFinish)
        onFinish();
}

void TransferRecorder::didFinishCollectingMetrics(const Task &task)
{
    const std::lock_guard lock(m_mutex);
    note(task).calls.append(QStringLiteral("metrics"));
}

void TransferRecorder::didComplete(const Task &task, const std::optional<URLError> &error)
{
    const std::lock_guard lock(m_mutex);
    Told &told = note(task);
    told.calls.append(QStringLiteral("complete"));
    told.error = error;
    told.response = task->response();
}

Told TransferRecorder::of(const Task &task) const
{
    const std::lock_guard lock(m_mutex);
    const auto told = m_told.find(task);
    return told == m_told.end() ? Told() : told->second;
}

bool TransferRecorder::waitForEnd(const Task &task) const
{
    return QTest::qWaitFor([&] { return of(task).ended(); }, patience);
}

void TransferRecorder::forget()
{
    const std::lock_guard lock(m_mutex);
    m_told.clear();
}

std::set<std::thread::id> TransferRecorder::threads() const
{
    const std::lock_guard lock(m_mutex);
    return m_threads;
}

URLSessionFixture::URLSessionFixture()
{
    qputenv("TMPDIR", temporary.path().toUtf8());
    session = std::make_unique<URLSession>(&recorder);
}

URLSessionFixture::~URLSessionFixture()
{
    session.reset();
    qunsetenv("TMPDIR");
}

URLSessionFixture::Task URLSessionFixture::newTask(const QByteArray &path)
{
    return session->downloadTask({server.url(path), target});
}

URLSessionFixture::Task URLSessionFixture::begin(const QByteArray &path)
{
    auto task = newTask(path);
    task->resume();
    return task;
}

Told URLSessionFixture::download(const QUrl &url)
{
    return run(session->downloadTask({url, target}));
}

Told URLSessionFixture::resume(const Told &failed, const QByteArray &path)
{
    return run(session->downloadTask({server.url(path), target, -1, -1, failed.error->rest}));
}

Told URLSessionFixture::run(const Task &task)
{
    task->resume();
    EXPECT_TRUE(recorder.waitForEnd(task)) << "the task never ended";
    return recorder.of(task);
}

DataTaskResult URLSessionFixture::fetch(const URLRequest &request)
{
    struct State
    {
        DataTaskResult result;
        std::atomic<int> told = 0;
    };
    const auto state = std::make_shared<State>();
    session->dataTask(request, [state](const DataTaskResult &result) {
        state->result = result;
        EXPECT_EQ(++state->told, 1);
    });
    EXPECT_TRUE(QTest::qWaitFor([&] { return state->told > 0; }, patience))
        << "the completion never ran";
    return state->told > 0 ? state->result : DataTaskResult();
}

DataTaskResult URLSessionFixture::fetch(const QByteArray &path, const QByteArray &method)
{
    return fetch({server.url(path), method, {}, {}});
}

QStringList URLSessionFixture::files() const
{
    return QDir(temporary.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}
