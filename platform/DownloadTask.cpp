#include "platform/DownloadTask.h"

DownloadTask::DownloadTask(const QUrl &url, Control control)
    : m_url(url)
    , m_control(std::move(control))
{
}

DownloadTask::DownloadTask(const std::optional<ResumeData> &resumeData, Control control)
    : m_url(resumeData ? resumeData->url : QUrl())
    , m_resumeData(resumeData)
    , m_control(std::move(control))
{
}

std::optional<URLResponse> DownloadTask::response() const
{
    const std::lock_guard lock(m_mutex);
    return m_response;
}

void DownloadTask::setResponse(const URLResponse &response)
{
    const std::lock_guard lock(m_mutex);
    m_response = response;
}

void DownloadTask::resume()
{
    if (!m_started.exchange(true))
        m_control.start(shared_from_this());
}

void DownloadTask::cancel()
{
    m_control.cancel(shared_from_this());
}
