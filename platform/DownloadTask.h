#pragma once

#include "platform/ResumeData.h"
#include "platform/URLTypes.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

/// The handle that callers hold; the transfer itself is made on the session's thread.
class DownloadTask : public URLSessionDownloadTask,
                     public std::enable_shared_from_this<DownloadTask>
{
public:
    enum class State { Waiting, Running, Ended };

    /// How the handle reaches its session. Any thread.
    struct Control
    {
        std::function<void(const std::shared_ptr<DownloadTask> &task)> start;
        std::function<void(const std::shared_ptr<DownloadTask> &task)> cancel;
    };

    DownloadTask(const QUrl &url, Control control);
    /// Absent resume data makes a task that fails when it starts.
    DownloadTask(const std::optional<ResumeData> &resumeData, Control control);

    [[nodiscard]] QUrl originalUrl() const override { return m_url; }
    [[nodiscard]] std::optional<URLResponse> response() const override;
    void resume() override;
    void cancel() override;

    [[nodiscard]] const std::optional<ResumeData> &resumeData() const { return m_resumeData; }
    void setResponse(const URLResponse &response);

    State state = State::Waiting; ///< the session's thread only

private:
    const QUrl m_url;
    const std::optional<ResumeData> m_resumeData;
    const Control m_control;
    std::atomic<bool> m_started = false;
    mutable std::mutex m_mutex;
    std::optional<URLResponse> m_response;
};
