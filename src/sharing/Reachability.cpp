#include "sharing/Reachability.h"

#include "foundation/Assertion.h"
#include "foundation/Log.h"
#include "sharing/NetlinkMonitor.h"
#include "sharing/RouteLookup.h"

#include <QHostInfo>

namespace spindrel {

Reachability::Reachability() = default;

Reachability::~Reachability()
{
    stopNotifier();
    if (mLookupId >= 0)
        QHostInfo::abortHostLookup(mLookupId);
}

std::unique_ptr<Reachability> Reachability::reachabilityWithHostName(const QString& hostName)
{
    if (hostName.trimmed().isEmpty())
        return nullptr;
    auto reachability = std::make_unique<Reachability>();
    reachability->reachabilityRef = std::make_unique<Target>();
    const QHostAddress literal(hostName);
    if (!literal.isNull())
        reachability->reachabilityRef->address = literal;
    else
        reachability->reachabilityRef->hostName = hostName;
    reachability->resolveHostName();
    return reachability;
}

std::unique_ptr<Reachability> Reachability::reachabilityWithAddress(const sockaddr* address)
{
    return address ? reachabilityWithAddress(QHostAddress(address)) : nullptr;
}

std::unique_ptr<Reachability> Reachability::reachabilityWithAddress(const QHostAddress& address)
{
    if (address.protocol() != QAbstractSocket::IPv4Protocol &&
        address.protocol() != QAbstractSocket::IPv6Protocol)
        return nullptr;
    auto reachability = std::make_unique<Reachability>();
    reachability->reachabilityRef = std::make_unique<Target>();
    reachability->reachabilityRef->address = address;
    return reachability;
}

std::unique_ptr<Reachability> Reachability::reachabilityForInternetConnection()
{
    return reachabilityWithAddress(QHostAddress(QHostAddress::AnyIPv4));
}

std::unique_ptr<Reachability> Reachability::reachabilityForLocalWiFi()
{
    auto reachability = reachabilityWithAddress(QHostAddress(QStringLiteral("169.254.0.0")));
    reachability->localWiFiRef = true;
    return reachability;
}

QString Reachability::hostName() const
{
    if (!reachabilityRef)
        return {};
    return reachabilityRef->hostName.isEmpty() ? reachabilityRef->address.toString()
                                               : reachabilityRef->hostName;
}

void Reachability::resolveHostName()
{
    if (!reachabilityRef || reachabilityRef->hostName.isEmpty())
        return;
    if (mLookupId >= 0)
        QHostInfo::abortHostLookup(mLookupId);
    reachabilityRef->resolving = true;
    mLookupId = QHostInfo::lookupHost(reachabilityRef->hostName, this, [this](const QHostInfo& info) {
        mLookupId = -1;
        reachabilityRef->resolving = false;
        const QList<QHostAddress> addresses = info.addresses();
        reachabilityRef->resolutionFailed = info.error() != QHostInfo::NoError || addresses.isEmpty();
        reachabilityRef->address = reachabilityRef->resolutionFailed ? QHostAddress() : addresses.first();
        networkMayHaveChanged();
    });
}

std::optional<Reachability::Flags> Reachability::reachabilityFlags() const
{
    if (!reachabilityRef)
        return std::nullopt;
    const Target& target = *reachabilityRef;
    QHostAddress address = target.address;
    if (!target.hostName.isEmpty() && address.isNull()) {
        // A name that does not resolve leads nowhere; one still being looked up goes wherever
        // the default route goes.
        if (target.resolutionFailed)
            return Flags(0);
        address = RouteLookup::internetProbeAddress(QAbstractSocket::IPv4Protocol);
    } else if (address == QHostAddress(QHostAddress::AnyIPv4) ||
               address == QHostAddress(QHostAddress::AnyIPv6)) {
        address = RouteLookup::internetProbeAddress(address.protocol());
    }
    const std::optional<RouteLookup::Route> route = RouteLookup::lookup(address);
    if (!route)
        return std::nullopt;
    if (!route->reachable)
        return Flags(0);
    Flags flags = Reachable;
    if (route->pointToPoint)
        flags |= TransientConnection;
    if (route->localAddress)
        flags |= IsLocalAddress;
    if (route->direct)
        flags |= IsDirect;
    return flags;
}

bool Reachability::startNotifier()
{
    if (!reachabilityRef)
        return false;
    if (!mMonitor) {
        mMonitor = std::make_unique<NetlinkMonitor>();
        connect(mMonitor.get(), &NetlinkMonitor::networkChanged, this, [this] {
            resolveHostName();
            networkMayHaveChanged();
        });
    }
    if (!mMonitor->start()) {
        mMonitor.reset();
        return false;
    }
    mLastFlags = reachabilityFlags();
    return true;
}

void Reachability::stopNotifier()
{
    if (reachabilityRef && mMonitor)
        mMonitor->stop();
    mMonitor.reset();
}

void Reachability::networkMayHaveChanged()
{
    if (!mMonitor || !mMonitor->isRunning())
        return;
    const std::optional<Flags> flags = reachabilityFlags();
    if (flags == mLastFlags)
        return;
    mLastFlags = flags;
    reachabilityCallback(this);
}

void Reachability::reachabilityCallback(QObject* info)
{
    SP_VERIFY_OR_DEBUG_ASSERT(info != nullptr, "info was NULL in ReachabilityCallback")
    {
        return;
    }
    auto* reachability = qobject_cast<Reachability*>(info);
    SP_VERIFY_OR_DEBUG_ASSERT(reachability != nullptr, "info was wrong class in ReachabilityCallback")
    {
        return;
    }
    Q_EMIT reachability->reachabilityChanged(reachability);
}

QString Reachability::flagsDescription(Flags flags, const char* comment)
{
    const auto letter = [flags](Flags bit, char c) { return QLatin1Char((flags & bit) ? c : '-'); };
    return QStringLiteral("Reachability Flag Status: ") + letter(Reachable, 'R') +
           letter(TransientConnection, 't') + QLatin1Char(' ') + letter(ConnectionRequired, 'c') +
           letter(ConnectionOnTraffic, 'C') + letter(InterventionRequired, 'i') +
           letter(ConnectionOnDemand, 'D') + letter(IsLocalAddress, 'l') + letter(IsDirect, 'd') +
           QLatin1Char(' ') + QLatin1String(comment) + QLatin1Char('\n');
}

void Reachability::printReachabilityFlags(Flags flags, const char* comment)
{
    QString line = flagsDescription(flags, comment);
    line.chop(1); // the log adds the line break
    logLine(line);
}

Reachability::NetworkStatus Reachability::localWiFiStatusForFlags(Flags flags) const
{
    printReachabilityFlags(flags, "localWiFiStatusForFlags");
    return (flags & Reachable) && (flags & IsDirect) ? ReachableViaNetwork : NotReachable;
}

Reachability::NetworkStatus Reachability::networkStatusForFlags(Flags flags) const
{
    printReachabilityFlags(flags, "networkStatusForFlags");
    if (!(flags & Reachable))
        return NotReachable;
    if ((flags & ConnectionRequired) &&
        ((flags & InterventionRequired) || !(flags & (ConnectionOnTraffic | ConnectionOnDemand))))
        return NotReachable;
    return ReachableViaNetwork;
}

Reachability::NetworkStatus Reachability::currentReachabilityStatus() const
{
    SP_VERIFY_OR_DEBUG_ASSERT(reachabilityRef != nullptr,
                              "currentNetworkStatus called with NULL reachabilityRef")
    {
        return NotReachable;
    }
    const std::optional<Flags> flags = reachabilityFlags();
    if (!flags)
        return NotReachable;
    return localWiFiRef ? localWiFiStatusForFlags(*flags) : networkStatusForFlags(*flags);
}

bool Reachability::connectionRequired() const
{
    SP_VERIFY_OR_DEBUG_ASSERT(reachabilityRef != nullptr,
                              "connectionRequired called with NULL reachabilityRef")
    {
        return false;
    }
    const std::optional<Flags> flags = reachabilityFlags();
    return flags && (*flags & ConnectionRequired);
}

} // namespace spindrel
