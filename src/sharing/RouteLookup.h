#pragma once

#include <QHostAddress>
#include <cstdint>
#include <optional>

namespace spindrel {

/// What the kernel's routing says about one address, found without sending anything: a UDP
/// socket is connected (which only picks a route and a source address) and the route itself is
/// asked for over netlink.
class RouteLookup
{
public:
    struct Route
    {
        bool reachable = false;
        bool localAddress = false; ///< the address belongs to this machine
        bool direct = false;       ///< no gateway between us and the address
        bool pointToPoint = false; ///< the route leaves through a point-to-point link (PPP, VPN)
        QHostAddress source;       ///< the address packets would leave from
    };

    /// Nothing when the address is not IPv4 or IPv6 or no socket can be made at all.
    static std::optional<Route> lookup(const QHostAddress& address);

    /// The address standing for "the internet at large" in a route lookup: only a default route
    /// reaches it (it belongs to a block reserved for documentation, so no local network uses it).
    static QHostAddress internetProbeAddress(QAbstractSocket::NetworkLayerProtocol protocol);
};

} // namespace spindrel
