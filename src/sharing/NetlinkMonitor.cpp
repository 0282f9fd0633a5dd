#include "sharing/NetlinkMonitor.h"

#include <QSocketNotifier>
#include <cerrno>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace spindrel {

NetlinkMonitor::NetlinkMonitor(QObject* parent) : QObject(parent) {}

NetlinkMonitor::~NetlinkMonitor()
{
    stop();
}

bool NetlinkMonitor::start()
{
    if (isRunning())
        return true;
    const int fd = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (fd < 0)
        return false;
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups =
        RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_ROUTE;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        ::close(fd);
        return false;
    }
    mSocket = fd;
    mNotifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    connect(mNotifier.get(), &QSocketNotifier::activated, this, &NetlinkMonitor::readAnnouncements);
    return true;
}

void NetlinkMonitor::stop()
{
    mNotifier.reset();
    if (mSocket >= 0)
        ::close(mSocket);
    mSocket = -1;
}

void NetlinkMonitor::readAnnouncements()
{
    // What changed does not matter, only that something did: the caller looks the route up again.
    alignas(nlmsghdr) char buffer[16384];
    bool changed = false;
    while (true) {
        const ssize_t length = ::recv(mSocket, buffer, sizeof buffer, 0);
        if (length > 0) {
            changed = true;
            continue;
        }
        // ENOBUFS: announcements were dropped, so something changed that we missed.
        if (length < 0 && errno == ENOBUFS) {
            changed = true;
            continue;
        }
        if (length < 0 && errno == EINTR)
            continue;
        break;
    }
    if (changed)
        Q_EMIT networkChanged();
}

} // namespace spindrel
