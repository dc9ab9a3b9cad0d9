#include "platform/SessionWorker.h"

#include "platform/SessionQueue.h"

SessionWorker::SessionWorker(URLSessionDownloadDelegate *delegate,
                             std::shared_ptr<SessionQueue> queue)
    : m_queue(std::move(queue))
    , m_session({delegate, *m_queue, m_files})
{
}

SessionWorker::~SessionWorker()
{
    qDeleteAll(m_running);
}

void SessionWorker::customEvent(QEvent *)
{
    m_queue->run(*this);
}

void SessionWorker::startData(const URLRequest &request, const DataTransfer::Completion &completion)
{
    const auto unlessClosed = [queue = m_queue, completion](const DataTaskResult &result) {
        if (!queue->isClosed())
            completion(result);
    };
    add(new DataTransfer(m_network, m_timeout, request, unlessClosed));
}

void SessionWorker::startDownload(const std::shared_ptr<DownloadTask> &task)
{
    if (task->state == DownloadTask::State::Waiting)
        add(makeDownload(task));
}

void SessionWorker::cancelDownload(const std::shared_ptr<DownloadTask> &task)
{
    if (task->state == DownloadTask::State::Waiting) {
        const std::unique_ptr<DownloadTransfer> neverBegun(makeDownload(task));
        neverBegun->cancel();
        return;
    }
    for (Transfer *transfer : QList(m_running)) {
        const auto *download = dynamic_cast<DownloadTransfer *>(transfer);
        if (download && download->task() == task)
            transfer->cancel();
    }
}

void SessionWorker::cancelAll()
{
    for (Transfer *transfer : QList(m_running))
        transfer->cancel();
}

DownloadTransfer *SessionWorker::makeDownload(const std::shared_ptr<DownloadTask> &task)
{
    return new DownloadTransfer(m_network, m_timeout, m_session, task);
}

void SessionWorker::add(Transfer *transfer)
{
    m_running.append(transfer);
    connect(transfer, &Transfer::ended, this, [this, transfer] {
        m_running.removeOne(transfer);
        transfer->deleteLater();
    });
    transfer->start();
}
