#pragma once

#include <QString>
#include <sys/types.h>

namespace spindrel {

/// Real-time scheduling for a sound thread, at the lowest real-time priority so that it stays below
/// the sound server's own threads. The kernel grants it where this process has a real-time allowance
/// (root, or a limit set for the user); elsewhere the desktop's real-time broker (RealtimeKit, on
/// the system bus) may grant it. The thread is reset to ordinary scheduling in a forked child.
class RealtimeScheduling
{
public:
    enum class Grant {
        Refused, // the thread runs as before
        Kernel,
        Broker,
    };

    /// Asks for `thread`, a thread of this process. Waits on the system bus for up to
    /// kBrokerTimeoutMs: never on a sound thread itself. `why`, when given, says why it was refused.
    static Grant request(pid_t thread, QString* why = nullptr);

    static constexpr int kBrokerTimeoutMs = 2000;
};

} // namespace spindrel
