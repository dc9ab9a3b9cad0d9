#include "bench/Figures.h"
#include "platform/FileManager.h"
#include "platform/URLSession.h"
#include "tests/support/FaultServer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <semaphore>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 mebibyte = 1 << 20;
constexpr qint64 fileSize = 1024 * mebibyte;

/// Places what arrives and lets the waiting thread go on.
class Placing : public URLSessionDownloadDelegate
{
public:
    explicit Placing(QString target)
        : m_target(std::move(target))
    {
    }

    void wait() { m_done.acquire(); }

    void didWriteData(const std::shared_ptr<URLSessionDownloadTask> &, qint64, qint64,
                      qint64) override
    {
    }
    void didFinishDownloading(const std::shared_ptr<URLSessionDownloadTask> &,
                              const QString &temporaryFile) override
    {
        const FileResult moved = FileManager::moveItem(temporaryFile, m_target);
        if (!moved)
            qFatal("not placed: %s", qPrintable(moved.error));
    }
    void didFinishCollectingMetrics(const std::shared_ptr<URLSessionDownloadTask> &) override {}
    void didComplete(const std::shared_ptr<URLSessionDownloadTask> &,
                     const std::optional<URLError> &error) override
    {
        if (error)
            qFatal("not loaded: %s", qPrintable(error->description));
        m_done.release();
    }

private:
    QString m_target;
    std::binary_semaphore m_done{0};
};

void downloadAndPlace(const QUrl &url, const QString &target)
{
    Placing placing(target);
    URLSession session(&placing);
    const auto task = session.downloadTask(url);
    task->resume();
    placing.wait();
    QFile::remove(target);
}

void curlAndCopy(const QUrl &url, const QString &folder, const QString &target)
{
    const QString file = folder + u"/curl.part"_s;
    const QString script =
        u"curl -sS -o '%1' '%2' && cp '%1' '%3' && sync '%3' && rm '%1' '%3'"_s.arg(
            file, url.toString(), target);
    if (QProcess::execute(u"sh"_s, {u"-c"_s, script}) != 0)
        qFatal("the yardstick failed");
}

} // namespace

bool transferFigures()
{
    FaultServer server;
    server.serve("/big", {.body = QByteArray(static_cast<int>(mebibyte), 'q'),
                          .repeat = fileSize / mebibyte});
    // The pen is another file system than the temporary folder, where there is one.
    const QTemporaryDir pen(QDir(u"/dev/shm"_s).exists() ? u"/dev/shm/quillo-XXXXXX"_s
                                                         : QDir::tempPath() + u"/quillo-XXXXXX"_s);
    const QTemporaryDir scratch;
    const QUrl url = server.url("/big");
    const QString target = pen.filePath(u"big.qnk"_s);

    const double before = peakMemory();
    downloadAndPlace(url, target);
    bool held = report(u"memory that 1 GiB takes over idle, server included"_s,
                       peakMemory() - before, 16, u"MiB"_s);
    held = report(measure(
               u"1 GiB from loopback onto the pen against curl, cp and sync"_s, 1.0, 3,
               [&] { downloadAndPlace(url, target); },
               [&] { curlAndCopy(url, scratch.path(), target); }))
           && held;
    return held;
}
