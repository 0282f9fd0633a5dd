#pragma once

#include <QHostAddress>
#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

struct sockaddr;

namespace spindrel {

class NetlinkMonitor;

/// Whether a host or an address can be reached as this machine's routing sees it, found without
/// sending anything to it, with a signal whenever that changes.
class Reachability : public QObject
{
    Q_OBJECT

public:
    using Flags = uint32_t;
    static constexpr Flags TransientConnection = 0x1;
    static constexpr Flags Reachable = 0x2;
    static constexpr Flags ConnectionRequired = 0x4;
    static constexpr Flags ConnectionOnTraffic = 0x8;
    static constexpr Flags InterventionRequired = 0x10;
    static constexpr Flags ConnectionOnDemand = 0x20;
    static constexpr Flags IsLocalAddress = 0x10000;
    static constexpr Flags IsDirect = 0x20000;

    enum NetworkStatus : unsigned { NotReachable = 0, ReachableViaNetwork = 1 };

    /// The name under which changes are announced (the signal reachabilityChanged).
    static constexpr const char* kNetworkReachabilityChangedNotification =
        "kNetworkReachabilityChangedNotification";

    /// A watcher without a target; asking it for a status is a programming error.
    Reachability();
    ~Reachability() override;

    /// Nothing when the name is empty.
    static std::unique_ptr<Reachability> reachabilityWithHostName(const QString& hostName);
    /// Nothing when the address is neither IPv4 nor IPv6.
    static std::unique_ptr<Reachability> reachabilityWithAddress(const sockaddr* address);
    static std::unique_ptr<Reachability> reachabilityWithAddress(const QHostAddress& address);
    /// The IPv4 address 0.0.0.0: any destination behind a default route.
    static std::unique_ptr<Reachability> reachabilityForInternetConnection();
    /// The link-local network 169.254.0.0, reachable only when it is directly attached.
    static std::unique_ptr<Reachability> reachabilityForLocalWiFi();

    /// Watches for changes on the current thread's event loop; true when that could be arranged.
    bool startNotifier();
    void stopNotifier();

    NetworkStatus currentReachabilityStatus() const;
    bool connectionRequired() const;
    NetworkStatus networkStatusForFlags(Flags flags) const;
    NetworkStatus localWiFiStatusForFlags(Flags flags) const;

    /// The flags now; nothing when they cannot be read.
    std::optional<Flags> reachabilityFlags() const;
    bool isLocalWiFi() const { return localWiFiRef; }
    QString hostName() const;

    /// "Reachability Flag Status: R- -----d comment\n": one letter per flag that is set.
    static QString flagsDescription(Flags flags, const char* comment);

    /// Where the platform's change reports arrive; `info` is the watcher that asked for them.
    static void reachabilityCallback(QObject* info);

Q_SIGNALS:
    /// kNetworkReachabilityChangedNotification, with the watcher whose flags changed.
    void reachabilityChanged(spindrel::Reachability* reachability);

private:
    struct Target
    {
        QString hostName;     ///< set for watchers of a host by name
        QHostAddress address; ///< the address watched, or the name's address once resolved
        bool resolving = false;
        bool resolutionFailed = false;
    };

    void resolveHostName();
    void networkMayHaveChanged();
    static void printReachabilityFlags(Flags flags, const char* comment);

    std::unique_ptr<Target> reachabilityRef;
    bool localWiFiRef = false;
    std::unique_ptr<NetlinkMonitor> mMonitor;
    std::optional<Flags> mLastFlags;
    int mLookupId = -1;
};

} // namespace spindrel
