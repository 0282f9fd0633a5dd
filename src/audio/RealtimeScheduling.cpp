#include "audio/RealtimeScheduling.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVariant>
#include <cerrno>
#include <cstring>
#include <sched.h>
#include <sys/resource.h>

namespace spindrel {

namespace {

const QString kBrokerService = QStringLiteral("org.freedesktop.RealtimeKit1");
const QString kBrokerPath = QStringLiteral("/org/freedesktop/RealtimeKit1");
// The broker's own default, for a broker too old to say.
constexpr qlonglong kDefaultRealtimeBudgetUsec = 200'000;

QVariant brokerProperty(QDBusConnection& bus, const QString& name)
{
    QDBusMessage get = QDBusMessage::createMethodCall(kBrokerService, kBrokerPath,
                                                      QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
    get << kBrokerService << name;
    const QDBusMessage reply = bus.call(get, QDBus::Block, RealtimeScheduling::kBrokerTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    return reply.arguments().constFirst().value<QDBusVariant>().variant();
}

// The broker grants real time only to a process that a runaway real-time thread cannot freeze: one
// whose real-time threads the kernel stops after a budget of CPU time without sleeping. Sound
// threads sleep every few milliseconds, far inside it.
bool limitRealtimeBudget(qlonglong budgetUsec, QString* why)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_RTTIME, &limit) == 0 && limit.rlim_max != RLIM_INFINITY &&
        limit.rlim_max <= rlim_t(budgetUsec))
        return true;
    limit.rlim_cur = limit.rlim_max = rlim_t(budgetUsec);
    if (setrlimit(RLIMIT_RTTIME, &limit) == 0)
        return true;
    if (why)
        *why = QStringLiteral("the real-time budget could not be set: %1")
                   .arg(QString::fromLocal8Bit(strerror(errno)));
    return false;
}

bool askBroker(pid_t thread, int priority, QString* why)
{
    // A connection of its own: the shared one belongs to the thread that made it first.
    const QString name = QStringLiteral("spindrel-realtime-%1").arg(thread);
    bool granted = false;
    {
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
        if (!bus.isConnected()) {
            if (why)
                *why = QStringLiteral("no system bus: %1").arg(bus.lastError().message());
        } else {
            const QVariant budget = brokerProperty(bus, QStringLiteral("RTTimeUSecMax"));
            if (limitRealtimeBudget(budget.isValid() ? budget.toLongLong() : kDefaultRealtimeBudgetUsec,
                                    why)) {
                QDBusMessage make = QDBusMessage::createMethodCall(
                    kBrokerService, kBrokerPath, kBrokerService, QStringLiteral("MakeThreadRealtime"));
                make << qulonglong(thread) << uint(priority);
                const QDBusMessage reply = bus.call(make, QDBus::Block, RealtimeScheduling::kBrokerTimeoutMs);
                granted = reply.type() == QDBusMessage::ReplyMessage;
                if (!granted && why)
                    *why = QStringLiteral("RealtimeKit refused: %1").arg(reply.errorMessage());
            }
        }
    }
    QDBusConnection::disconnectFromBus(name);
    return granted;
}

} // namespace

RealtimeScheduling::Grant RealtimeScheduling::request(pid_t thread, QString* why)
{
    sched_param priority{};
    priority.sched_priority = sched_get_priority_min(SCHED_RR);
    if (sched_setscheduler(thread, SCHED_RR | SCHED_RESET_ON_FORK, &priority) == 0)
        return Grant::Kernel;
    if (errno != EPERM) {
        if (why)
            *why = QString::fromLocal8Bit(strerror(errno));
        return Grant::Refused;
    }
    return askBroker(thread, priority.sched_priority, why) ? Grant::Broker : Grant::Refused;
}

} // namespace spindrel
