#pragma once

#include "platform/DataTransfer.h"
#include "platform/DownloadTransfer.h"

#include <QList>
#include <QNetworkAccessManager>

class SessionQueue;

/// A session's transfers and its network access, on the session's thread.
class SessionWorker : public QObject
{
    Q_OBJECT

public:
    SessionWorker(URLSessionDownloadDelegate *delegate, std::shared_ptr<SessionQueue> queue);
    ~SessionWorker() override;

    void startData(const URLRequest &request, const DataTransfer::Completion &completion);
    void startDownload(const std::shared_ptr<DownloadTask> &task);
    void cancelDownload(const std::shared_ptr<DownloadTask> &task);
    void cancelAll();
    void setTimeout(int milliseconds) { m_timeout = milliseconds; }

protected:
    void customEvent(QEvent *event) override;

private:
    void add(Transfer *transfer);
    [[nodiscard]] DownloadTransfer *makeDownload(const std::shared_ptr<DownloadTask> &task);

    const std::shared_ptr<SessionQueue> m_queue;
    PartialFiles m_files;
    const DownloadTransfer::Session m_session;
    QNetworkAccessManager m_network;
    QList<Transfer *> m_running; ///< owned
    int m_timeout = 60'000;
};
