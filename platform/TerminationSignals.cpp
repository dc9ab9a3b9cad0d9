#include "platform/TerminationSignals.h"

#include <QSocketNotifier>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::array handledSignals{SIGINT, SIGTERM};

// A signal handler may touch little more than this.
std::array<int, 2> pipeEnds{-1, -1};
std::atomic<bool> hasCome = false;

void wake(int)
{
    const int kept = errno;
    hasCome = true;
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
    errno = kept;
}

void handleWith(void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : handledSignals)
        sigaction(number, &action, nullptr);
}

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
{
    Q_ASSERT(pipeEnds[0] < 0);
    hasCome = false;
    if (::pipe2(pipeEnds.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(pipeEnds[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::drain);
    handleWith(&wake);
}

TerminationSignals::~TerminationSignals()
{
    if (m_notifier == nullptr)
        return;
    handleWith(SIG_DFL);
    delete m_notifier;
    for (int &end : pipeEnds) {
        ::close(end);
        end = -1;
    }
}

bool TerminationSignals::haveCome()
{
    return hasCome;
}

void TerminationSignals::drain()
{
    std::array<char, 16> bytes{};
    while (::read(pipeEnds[0], bytes.data(), bytes.size()) > 0) {
    }
    Q_EMIT requested();
}

void ignoreBrokenPipes()
{
    std::signal(SIGPIPE, SIG_IGN);
}
