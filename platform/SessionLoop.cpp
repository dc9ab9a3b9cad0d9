#include "platform/SessionLoop.h"

#include "platform/SessionQueue.h"

#include <algorithm>
#include <mutex>

namespace {

/// As many as servers commonly grant one client.
constexpr long connectionsPerHost = 8;

CURLM *newMulti()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    return curl_multi_init();
}

Transfer &transferOf(CURL *easy)
{
    Transfer *transfer = nullptr;
    curl_easy_getinfo(easy, CURLINFO_PRIVATE, &transfer);
    return *transfer;
}

} // namespace

SessionLoop::SessionLoop(DownloadTransfer::Session session)
    : m_session(std::move(session))
    , m_multi(newMulti())
{
    if (m_session.delegate) // which sizes many files at a time
        curl_multi_setopt(m_multi, CURLMOPT_MAX_HOST_CONNECTIONS, connectionsPerHost);
    m_session.queue->setWaker([this] { curl_multi_wakeup(m_multi); });
}

SessionLoop::~SessionLoop()
{
    m_session.queue->setWaker({});
    for (const auto &transfer : m_running)
        curl_multi_remove_handle(m_multi, transfer->handle());
    m_running.clear();
    curl_multi_cleanup(m_multi);
}

void SessionLoop::run()
{
    while (!m_session.queue->isClosed()) {
        m_session.queue->run(*this);
        drive();
        if (!m_session.queue->isClosed())
            curl_multi_poll(m_multi, nullptr, 0, longestWait(), nullptr);
    }
}

void SessionLoop::drive()
{
    // What came while a callback took its time is read before anybody counts as silent.
    const auto begin = Transfer::Clock::now();
    int running = 0;
    curl_multi_perform(m_multi, &running);
    endFinished();
    endCancelledAndSilent(begin);
}

void SessionLoop::start(std::unique_ptr<Transfer> transfer)
{
    if (!transfer->begin())
        return;
    curl_multi_add_handle(m_multi, transfer->handle());
    m_running.push_back(std::move(transfer));
}

void SessionLoop::startDownload(const std::shared_ptr<URLSessionDownloadTask> &task)
{
    start(std::make_unique<DownloadTransfer>(m_session, task));
}

void SessionLoop::cancelAll()
{
    while (!m_running.empty())
        end(*m_running.back(), [this] { m_running.back()->endCancelled(); });
}

void SessionLoop::endFinished()
{
    int left = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &left)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        Transfer &transfer = transferOf(message->easy_handle);
        const CURLcode code = message->data.result;
        curl_multi_remove_handle(m_multi, transfer.handle());
        if (transfer.followRedirect())
            curl_multi_add_handle(m_multi, transfer.handle());
        else
            end(transfer, [&] { transfer.finish(code); });
    }
}

void SessionLoop::endCancelledAndSilent(Transfer::Clock::time_point now)
{
    for (size_t i = m_running.size(); i-- > 0;) {
        Transfer &transfer = *m_running[i];
        if (transfer.isCancelled())
            end(transfer, [&] { transfer.endCancelled(); });
        else if (now - transfer.lastSign() >= m_timeout)
            end(transfer, [&] { transfer.endSilent(); });
    }
}

void SessionLoop::end(Transfer &transfer, const std::function<void()> &tell)
{
    curl_multi_remove_handle(m_multi, transfer.handle());
    tell();
    std::erase_if(m_running, [&](const auto &running) { return running.get() == &transfer; });
}

/// Milliseconds until the next transfer may have been silent for too long.
int SessionLoop::longestWait() const
{
    using std::chrono::milliseconds;
    auto wait = milliseconds(std::chrono::minutes(1));
    const auto now = Transfer::Clock::now();
    for (const auto &transfer : m_running) {
        const auto left = m_timeout - (now - transfer->lastSign());
        wait = std::min(wait, std::chrono::ceil<milliseconds>(left));
    }
    return static_cast<int>(std::max(milliseconds(0), wait).count());
}
