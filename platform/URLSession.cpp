#include "platform/URLSession.h"

#include "platform/DownloadTask.h"
#include "platform/SessionQueue.h"
#include "platform/SessionWorker.h"

#include <QThread>

/// Everything the session's thread needs lives on its stack.
class URLSession::Thread : public QThread
{
public:
    Thread(URLSessionDownloadDelegate *delegate, std::shared_ptr<SessionQueue> queue)
        : m_delegate(delegate)
        , m_queue(std::move(queue))
    {
    }

protected:
    void run() override
    {
        SessionWorker worker(m_delegate, m_queue);
        m_queue->setReceiver(&worker);
        exec();
        m_queue->setReceiver(nullptr);
    }

private:
    URLSessionDownloadDelegate *m_delegate;
    std::shared_ptr<SessionQueue> m_queue;
};

namespace {

DownloadTask::Control taskControl(const std::shared_ptr<SessionQueue> &queue)
{
    using Task = std::shared_ptr<DownloadTask>;
    return {[queue](const Task &task) {
                queue->post([task](SessionWorker &worker) { worker.startDownload(task); });
            },
            [queue](const Task &task) {
                queue->post([task](SessionWorker &worker) { worker.cancelDownload(task); });
            }};
}

} // namespace

URLSession::URLSession(URLSessionDownloadDelegate *delegate)
    : m_queue(std::make_shared<SessionQueue>())
    , m_thread(std::make_unique<Thread>(delegate, m_queue))
{
    m_thread->setObjectName(QStringLiteral("URLSession"));
    m_thread->start();
}

URLSession::~URLSession()
{
    m_queue->close();
    m_thread->requestInterruption(); // for a callback under way that takes its time
    m_thread->quit();
    m_thread->wait();
}

void URLSession::dataTask(const URLRequest &request,
                          std::function<void(const DataTaskResult &result)> completion)
{
    m_queue->post([request, completion = std::move(completion)](SessionWorker &worker) {
        worker.startData(request, completion);
    });
}

std::shared_ptr<URLSessionDownloadTask> URLSession::downloadTask(const QUrl &url)
{
    return std::make_shared<DownloadTask>(url, taskControl(m_queue));
}

std::shared_ptr<URLSessionDownloadTask> URLSession::downloadTask(const QByteArray &resumeData)
{
    return std::make_shared<DownloadTask>(ResumeData::parse(resumeData), taskControl(m_queue));
}

void URLSession::cancelAllTasks()
{
    m_queue->post([](SessionWorker &worker) { worker.cancelAll(); });
}

void URLSession::async(std::function<void()> work)
{
    m_queue->post([work = std::move(work)](SessionWorker &) { work(); });
}

void URLSession::setTimeout(int milliseconds)
{
    m_queue->post([milliseconds](SessionWorker &worker) { worker.setTimeout(milliseconds); });
}
