#include "bench/Figures.h"
#include "bench/PlainServer.h"
#include "platform/IncomingFile.h"
#include "platform/URLSession.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <semaphore>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mebibyte = 1 << 20;
constexpr qint64 fileSize = 1024 * mebibyte;

/// Places what arrives and lets the waiting thread go on.
class Placing : public URLSessionDownloadDelegate
{
public:
    using Task = std::shared_ptr<URLSessionDownloadTask>;

    void wait() { m_done.acquire(); }

    void didWriteData(const Task &, qint64, qint64, qint64) override {}
    void didFinishDownloading(const Task &task, const std::shared_ptr<IncomingFile> &file) override
    {
        if (const FileFailure failure = file->place(task->stopToken()))
            qFatal("not placed: %s", qPrintable(failure.text));
    }
    void didFinishCollectingMetrics(const Task &) override {}
    void didComplete(const Task &, const std::optional<URLError> &error) override
    {
        if (error)
            qFatal("not loaded: %s", qPrintable(error->description));
        m_done.release();
    }

private:
    std::binary_semaphore m_done{0};
};

void downloadAndPlace(const QUrl &url, const QString &target,
                      const FileCalls &calls = FileCalls::system())
{
    Placing placing;
    URLSession session(&placing, calls);
    session.downloadTask({url, target})->resume();
    placing.wait();
    QFile::remove(target);
}

void runScript(const QString &script)
{
    if (QProcess::execute(u"sh"_s, {u"-c"_s, script}) != 0)
        qFatal("the yardstick failed");
}

void curlStraight(const QUrl &url, const QString &target)
{
    runScript(u"curl -sS -o '%1' '%2' && sync '%1' && rm '%1'"_s.arg(target, url.toString()));
}

void curlAndCopy(const QUrl &url, const QString &folder, const QString &target)
{
    const QString file = folder + u"/curl.part"_s;
    runScript(u"curl -sS -o '%1' '%2' && cp '%1' '%3' && sync '%3' && rm '%1' '%3'"_s.arg(
        file, url.toString(), target));
}

/// The system's calls, but for writing, which takes as long as on a medium of that speed. Its small
/// cache makes up for a sleep that was too long.
FileCalls callsAtSpeed(double bytesPerSecond)
{
    using Clock = std::chrono::steady_clock;
    FileCalls calls = FileCalls::system();
    calls.write = [bytesPerSecond, free = std::make_shared<Clock::time_point>()](
                      int file, const void *data, size_t size) {
        const std::chrono::duration<double> taken(static_cast<double>(size) / bytesPerSecond);
        *free = std::max(*free, Clock::now() - std::chrono::milliseconds(20))
                + std::chrono::ceil<Clock::duration>(taken);
        std::this_thread::sleep_until(*free);
        return ::write(file, data, size);
    };
    return calls;
}

void writeAlone(const FileCalls &calls, const QString &target, qint64 size)
{
    const QByteArray block(mebibyte / 4, 'q');
    IncomingFile file(target, calls);
    FileFailure failure = file.begin(size);
    while (!failure && file.size() < size)
        failure = file.append(block.constData(), block.size());
    if (failure || file.place({}))
        qFatal("the yardstick failed");
    QFile::remove(target);
}

double seconds(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e9;
}

/// A slow pen and a network that is hardly faster.
bool slowFigure(PlainServer &server, const QString &target)
{
    constexpr qint64 size = 64'000'000;
    constexpr double penSpeed = 20e6;
    // 25 MB/s: 1 MB every 40 ms.
    server.serve("/slow", {.bytes = QByteArray(1'000'000, 'q'),
                           .repeat = size / 1'000'000,
                           .pause = std::chrono::milliseconds(40)});
    const FileCalls calls = callsAtSpeed(penSpeed);
    const auto networkAlone = [&] {
        runScript(u"curl -sS -o /dev/null '%1'"_s.arg(server.url("/slow").toString()));
    };
    const auto penAlone = [&] {
        writeAlone(calls, target, size);
    };
    const bool isNetworkSlower = seconds(networkAlone) > seconds(penAlone);
    return report(measure(
        u"64 MB at 25 MB/s onto a pen of 20 MB/s against the slower of them alone"_s, 1.15, 3,
        [&] { downloadAndPlace(server.url("/slow"), target, calls); },
        [&] { isNetworkSlower ? networkAlone() : penAlone(); }));
}

} // namespace

bool transferFigures()
{
    PlainServer server;
    server.serve("/big", {.bytes = QByteArray(mebibyte, 'q'), .repeat = fileSize / mebibyte});
    // The pen is another file system than the temporary folder, where there is one.
    const QTemporaryDir pen(QDir(u"/dev/shm"_s).exists() ? u"/dev/shm/quillo-XXXXXX"_s
                                                         : QDir::tempPath() + u"/quillo-XXXXXX"_s);
    const QTemporaryDir scratch;
    const QUrl url = server.url("/big");
    const QString target = pen.filePath(u"big.qnk"_s);

    const double before = peakMemory();
    downloadAndPlace(url, target);
    bool held = report(u"memory that 1 GiB takes over idle, server included"_s,
                       peakMemory() - before, 10, u"MiB"_s);
    const auto ours = [&] {
        downloadAndPlace(url, target);
    };
    held = report(measure(u"1 GiB from loopback onto the pen against curl there and sync"_s, 1.05,
                          5, ours, [&] { curlStraight(url, target); }))
           && held;
    held = report(measure(u"1 GiB from loopback onto the pen against curl, cp and sync"_s, 0.75, 3,
                          ours, [&] { curlAndCopy(url, scratch.path(), target); }))
           && held;
    return slowFigure(server, target) && held;
}
