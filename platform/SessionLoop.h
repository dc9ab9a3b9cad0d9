#pragma once

#include "platform/DownloadTransfer.h"

#include <memory>
#include <vector>

/// A session's transfers and the one loop that drives them, on the session's thread.
class SessionLoop
{
public:
    explicit SessionLoop(DownloadTransfer::Session session);
    /// Ends what is under way without telling anybody.
    ~SessionLoop();
    SessionLoop(const SessionLoop &) = delete;
    SessionLoop &operator=(const SessionLoop &) = delete;

    /// Until the queue is closed.
    void run();

    void start(std::unique_ptr<Transfer> transfer);
    void startDownload(const std::shared_ptr<URLSessionDownloadTask> &task);
    void cancelAll();
    void setTimeout(std::chrono::milliseconds timeout) { m_timeout = timeout; }

private:
    void drive();
    void endFinished();
    void endCancelledAndSilent(Transfer::Clock::time_point now);
    void end(Transfer &transfer, const std::function<void()> &tell);
    [[nodiscard]] int longestWait() const;

    const DownloadTransfer::Session m_session;
    CURLM *const m_multi;
    std::vector<std::unique_ptr<Transfer>> m_running;
    std::chrono::milliseconds m_timeout = std::chrono::seconds(60);
};
