#include "platform/URLSession.h"

#include "platform/DataTransfer.h"
#include "platform/DownloadTransfer.h"
#include "platform/SessionLoop.h"
#include "platform/SessionQueue.h"

#include <QThread>

/// Everything the session's thread needs lives on its stack.
class URLSession::Thread : public QThread
{
public:
    explicit Thread(DownloadTransfer::Session session)
        : m_session(std::move(session))
    {
    }

protected:
    void run() override { SessionLoop(m_session).run(); }

private:
    const DownloadTransfer::Session m_session;
};

URLSessionDownloadTask::URLSessionDownloadTask(DownloadRequest request,
                                               std::shared_ptr<SessionQueue> session)
    : m_request(std::move(request))
    , m_session(std::move(session))
{
}

void URLSessionDownloadTask::resume()
{
    if (!m_isStarted.exchange(true))
        m_session->post(
            [task = shared_from_this()](SessionLoop &loop) { loop.startDownload(task); });
}

void URLSessionDownloadTask::cancel()
{
    m_stop.request_stop();
    m_session->post([](SessionLoop &) {}); // has the loop look
}

URLSession::URLSession(URLSessionDownloadDelegate *delegate, const FileCalls &calls)
    : m_queue(std::make_shared<SessionQueue>())
    , m_thread(std::make_unique<Thread>(DownloadTransfer::Session{delegate, m_queue, calls}))
{
    m_thread->setObjectName(QStringLiteral("URLSession"));
    m_thread->start();
}

URLSession::~URLSession()
{
    m_queue->close();
    m_thread->wait();
}

void URLSession::dataTask(const URLRequest &request,
                          std::function<void(const DataTaskResult &result)> completion)
{
    const auto unlessClosed = [queue = m_queue,
                               completion = std::move(completion)](const DataTaskResult &result) {
        if (!queue->isClosed())
            completion(result);
    };
    m_queue->post([request, unlessClosed](SessionLoop &loop) {
        loop.start(std::make_unique<DataTransfer>(request, unlessClosed));
    });
}

std::shared_ptr<URLSessionDownloadTask> URLSession::downloadTask(DownloadRequest request)
{
    return std::make_shared<URLSessionDownloadTask>(std::move(request), m_queue);
}

void URLSession::cancelAllTasks()
{
    m_queue->post([](SessionLoop &loop) { loop.cancelAll(); });
}

void URLSession::async(std::function<void()> work)
{
    m_queue->post([work = std::move(work)](SessionLoop &) { work(); });
}

void URLSession::setTimeout(std::chrono::milliseconds timeout)
{
    m_queue->post([timeout](SessionLoop &loop) { loop.setTimeout(timeout); });
}
