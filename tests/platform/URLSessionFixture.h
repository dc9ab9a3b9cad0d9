#pragma once

#include "platform/URLSession.h"
#include "tests/support/FaultServer.h"
#include "tests/support/Printers.h"
#include "tests/support/Rows.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTemporaryDir>

#include <map>
#include <mutex>
#include <set>
#include <thread>

/// Bytes that look different at every place.
[[nodiscard]] QByteArray pattern(qsizetype size, quint32 seed = 1);

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

    QStringList calls; ///< "finished", "metrics", "complete"; progress only where it came late
    QList<Progress> progress;
    QByteArray content; ///< of the file once it was placed
    std::optional<URLError> error;
    std::optional<URLResponse> response; ///< as seen in didComplete

    [[nodiscard]] bool ended() const { return calls.contains(QStringLiteral("complete")); }
    [[nodiscard]] QString errorText() const { return error ? error->description : QString(); }
    [[nodiscard]] bool isResumable() const { return error && error->rest; }
    [[nodiscard]] qint64 written() const;
};

/// Places what a session has loaded and writes down what it tells. The hooks run on the session's
/// thread, inside the calls.
class TransferRecorder : public URLSessionDownloadDelegate
{
public:
    using Task = std::shared_ptr<URLSessionDownloadTask>;

    TransferRecorder() { m_clock.start(); }

    void didWriteData(const Task &task, qint64 written, qint64 total, qint64 expected) override;
    void didFinishDownloading(const Task &task, const std::shared_ptr<IncomingFile> &file) override;
    void didFinishCollectingMetrics(const Task &task) override;
    void didComplete(const Task &task, const std::optional<URLError> &error) override;

    [[nodiscard]] Told of(const Task &task) const;
    [[nodiscard]] bool waitForEnd(const Task &task) const;
    /// Lets go of all that was told, the rests of broken transfers too.
    void forget();
    /// Those that calls came on.
    [[nodiscard]] std::set<std::thread::id> threads() const;

    std::function<void(const Task &task)> onWrite;
    std::function<void()> onFinish;

private:
    Told &note(const Task &task);

    mutable std::mutex m_mutex;
    QElapsedTimer m_clock;
    std::map<Task, Told> m_told;
    std::set<std::thread::id> m_threads;
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

    URLSessionFixture();
    ~URLSessionFixture() override;

    [[nodiscard]] Task newTask(const QByteArray &path);
    /// A download under way.
    [[nodiscard]] Task begin(const QByteArray &path = "/file");
    [[nodiscard]] Told download(const QUrl &url);
    [[nodiscard]] Told download(const QByteArray &path) { return download(server.url(path)); }
    /// Goes on with what the failed transfer left.
    [[nodiscard]] Told resume(const Told &failed, const QByteArray &path = "/file");
    [[nodiscard]] Told run(const Task &task);
    [[nodiscard]] DataTaskResult fetch(const URLRequest &request);
    [[nodiscard]] DataTaskResult fetch(const QByteArray &path, const QByteArray &method = "GET");
    /// What lies in the target's folder, hidden files too.
    [[nodiscard]] QStringList files() const;

    QTemporaryDir temporary;
    const QString target = temporary.filePath(QStringLiteral("target"));
    FaultServer server;
    TransferRecorder recorder;
    std::unique_ptr<URLSession> session;
};
