#include "stopsignals.h"

#include <csignal>

#include <sys/socket.h>
#include <unistd.h>

namespace {

int pipeEnds[2] = {-1, -1};

void onSignal(int number)
{
    std::signal(number, SIG_DFL);
    const char byte = char(number);
    [[maybe_unused]] const ssize_t written = ::write(pipeEnds[1], &byte, 1);
}

} // namespace

StopSignals::StopSignals(QObject *parent)
    : QObject(parent)
{
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, pipeEnds) != 0)
        return;
    m_notifier = std::make_unique<QSocketNotifier>(pipeEnds[0], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        if (::read(pipeEnds[0], &byte, 1) == 1)
            emit stopAsked(int(byte));
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

StopSignals::~StopSignals()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    m_notifier.reset();
    for (const int end : pipeEnds)
        ::close(end); // -1 when the pair was never made, which close refuses harmlessly
}
