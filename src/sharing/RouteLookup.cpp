#include "sharing/RouteLookup.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace spindrel {

namespace {

struct FileDescriptor
{
    int fd;
    ~FileDescriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

// Any port will do: a UDP connect sends nothing, it only fixes the route.
constexpr quint16 lookupPort = 9;

socklen_t socketAddress(const QHostAddress& address, sockaddr_storage& storage)
{
    std::memset(&storage, 0, sizeof storage);
    if (address.protocol() == QAbstractSocket::IPv4Protocol) {
        auto* in = reinterpret_cast<sockaddr_in*>(&storage);
        in->sin_family = AF_INET;
        in->sin_port = htons(lookupPort);
        in->sin_addr.s_addr = htonl(address.toIPv4Address());
        return sizeof(sockaddr_in);
    }
    if (address.protocol() == QAbstractSocket::IPv6Protocol) {
        auto* in6 = reinterpret_cast<sockaddr_in6*>(&storage);
        in6->sin6_family = AF_INET6;
        in6->sin6_port = htons(lookupPort);
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        std::memcpy(&in6->sin6_addr, bytes.c, sizeof bytes.c);
        in6->sin6_scope_id = address.scopeId().toUInt();
        return sizeof(sockaddr_in6);
    }
    return 0;
}

struct KernelRoute
{
    unsigned char type = RTN_UNSPEC;
    bool hasGateway = false;
    int outputInterface = 0;
};

// RTM_GETROUTE for one destination: the route the kernel would use, as `ip route get` shows it.
std::optional<KernelRoute> kernelRoute(const QHostAddress& address)
{
    FileDescriptor socket{::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE)};
    if (socket.fd < 0)
        return std::nullopt;
    const bool v4 = address.protocol() == QAbstractSocket::IPv4Protocol;
    struct
    {
        nlmsghdr header;
        rtmsg message;
        char attributes[64];
    } request{};
    const int addressLength = v4 ? 4 : 16;
    request.header.nlmsg_len = NLMSG_LENGTH(sizeof(rtmsg));
    request.header.nlmsg_type = RTM_GETROUTE;
    request.header.nlmsg_flags = NLM_F_REQUEST;
    request.header.nlmsg_seq = 1;
    request.message.rtm_family = v4 ? AF_INET : AF_INET6;
    request.message.rtm_dst_len = quint8(addressLength * 8);
    auto* attribute =
        reinterpret_cast<rtattr*>(reinterpret_cast<char*>(&request) + NLMSG_ALIGN(request.header.nlmsg_len));
    attribute->rta_type = RTA_DST;
    attribute->rta_len = quint16(RTA_LENGTH(addressLength));
    if (v4) {
        const quint32 bytes = htonl(address.toIPv4Address());
        std::memcpy(RTA_DATA(attribute), &bytes, 4);
    } else {
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        std::memcpy(RTA_DATA(attribute), bytes.c, 16);
    }
    request.header.nlmsg_len = NLMSG_ALIGN(request.header.nlmsg_len) + RTA_ALIGN(attribute->rta_len);

    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    if (::sendto(socket.fd, &request, request.header.nlmsg_len, 0, reinterpret_cast<sockaddr*>(&kernel),
                 sizeof kernel) < 0)
        return std::nullopt;
    alignas(nlmsghdr) char reply[8192];
    int remaining = int(::recv(socket.fd, reply, sizeof reply, 0));
    for (auto* header = reinterpret_cast<nlmsghdr*>(reply); remaining > 0 && NLMSG_OK(header, remaining);
         header = NLMSG_NEXT(header, remaining)) {
        if (header->nlmsg_type == NLMSG_ERROR || header->nlmsg_type != RTM_NEWROUTE)
            return std::nullopt;
        const auto* message = static_cast<const rtmsg*>(NLMSG_DATA(header));
        KernelRoute route;
        route.type = message->rtm_type;
        int attributesLength = int(RTM_PAYLOAD(header));
        for (auto* item = RTM_RTA(message); RTA_OK(item, attributesLength);
             item = RTA_NEXT(item, attributesLength)) {
            if (item->rta_type == RTA_GATEWAY || item->rta_type == RTA_VIA)
                route.hasGateway = true;
            else if (item->rta_type == RTA_OIF)
                std::memcpy(&route.outputInterface, RTA_DATA(item), sizeof(int));
        }
        return route;
    }
    return std::nullopt;
}

bool isPointToPoint(int interfaceIndex)
{
    char name[IF_NAMESIZE] = {};
    if (interfaceIndex <= 0 || !::if_indextoname(unsigned(interfaceIndex), name))
        return false;
    FileDescriptor socket{::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (socket.fd < 0)
        return false;
    ifreq request{};
    std::memcpy(request.ifr_name, name, sizeof request.ifr_name);
    if (::ioctl(socket.fd, SIOCGIFFLAGS, &request) < 0)
        return false;
    return (request.ifr_flags & IFF_POINTOPOINT) != 0;
}

QHostAddress hostAddress(const sockaddr_storage& storage)
{
    return QHostAddress(reinterpret_cast<const sockaddr*>(&storage));
}

} // namespace

QHostAddress RouteLookup::internetProbeAddress(QAbstractSocket::NetworkLayerProtocol protocol)
{
    return protocol == QAbstractSocket::IPv6Protocol ? QHostAddress(QStringLiteral("2001:db8::1"))
                                                     : QHostAddress(QStringLiteral("198.51.100.1"));
}

std::optional<RouteLookup::Route> RouteLookup::lookup(const QHostAddress& address)
{
    sockaddr_storage destination;
    const socklen_t length = socketAddress(address, destination);
    if (length == 0)
        return std::nullopt;
    FileDescriptor socket{::socket(destination.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
    if (socket.fd < 0)
        return std::nullopt;
    Route route;
    if (::connect(socket.fd, reinterpret_cast<const sockaddr*>(&destination), length) != 0)
        return route; // no route: unreachable, which is an answer too
    route.reachable = true;
    sockaddr_storage source{};
    socklen_t sourceLength = sizeof source;
    if (::getsockname(socket.fd, reinterpret_cast<sockaddr*>(&source), &sourceLength) == 0)
        route.source = hostAddress(source);
    route.localAddress = address.isLoopback() || (!route.source.isNull() && route.source.isEqual(address));
    if (const std::optional<KernelRoute> kernel = kernelRoute(address)) {
        route.localAddress = route.localAddress || kernel->type == RTN_LOCAL;
        route.direct = !kernel->hasGateway;
        route.pointToPoint = isPointToPoint(kernel->outputInterface);
    }
    return route;
}

} // namespace spindrel
