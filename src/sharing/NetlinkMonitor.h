#pragma once

#include <QObject>
#include <memory>

class QSocketNotifier;

namespace spindrel {

/// Listens to the kernel's announcements of link, address and route changes on a NETLINK_ROUTE
/// socket, on the event loop of the thread that starts it.
class NetlinkMonitor : public QObject
{
    Q_OBJECT

public:
    explicit NetlinkMonitor(QObject* parent = nullptr);
    ~NetlinkMonitor() override;

    /// False when the socket cannot be opened or subscribed.
    bool start();
    void stop();
    bool isRunning() const { return mSocket >= 0; }

Q_SIGNALS:
    /// One or more changes arrived; a burst of them is reported once.
    void networkChanged();

private:
    void readAnnouncements();

    int mSocket = -1;
    std::unique_ptr<QSocketNotifier> mNotifier;
};

} // namespace spindrel
