#include "foundation/TerminationSignals.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace spindrel {

namespace {

int gSignalPipe[2] = {-1, -1};
constexpr int Handled[] = {SIGTERM, SIGINT, SIGHUP};

// Runs in the signal's context: only the write is safe there.
void noteSignal(int signalNumber)
{
    const int saved = errno;
    const char byte = char(signalNumber);
    [[maybe_unused]] const ssize_t written = write(gSignalPipe[1], &byte, 1);
    errno = saved;
}

} // namespace

TerminationSignals::TerminationSignals(QObject* parent) : QObject(parent)
{
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, gSignalPipe) != 0)
        return;
    mNotifier = std::make_unique<QSocketNotifier>(gSignalPipe[0], QSocketNotifier::Read);
    connect(mNotifier.get(), &QSocketNotifier::activated, this, &TerminationSignals::readSignal);
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : Handled)
        sigaction(signalNumber, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    for (const int signalNumber : Handled)
        std::signal(signalNumber, SIG_DFL);
    mNotifier.reset();
    for (int& end : gSignalPipe) {
        if (end >= 0)
            close(end);
        end = -1;
    }
}

void TerminationSignals::readSignal()
{
    char byte = 0;
    while (read(gSignalPipe[0], &byte, 1) == 1)
        Q_EMIT terminationRequested(int(byte));
}

} // namespace spindrel
