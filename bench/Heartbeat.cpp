#include "bench/Heartbeat.h"

#include "bench/Child.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <chrono>

using namespace std::chrono_literals;

namespace {

constexpr auto interval = 2ms;

} // namespace

Heartbeat::Heartbeat()
    : m_thread([this](const std::stop_token &stop) { beat(stop); })
{
}

Heartbeat::~Heartbeat()
{
    m_thread.request_stop();
    m_answered.release();
}

void Heartbeat::customEvent(QEvent *)
{
    m_longest = std::max(m_longest.load(), now() - m_asked);
    m_answered.release();
}

void Heartbeat::beat(const std::stop_token &stop)
{
    while (!stop.stop_requested()) {
        m_asked = now();
        QCoreApplication::postEvent(this, new QEvent(QEvent::User));
        m_answered.acquire();
        std::this_thread::sleep_for(interval);
    }
}
