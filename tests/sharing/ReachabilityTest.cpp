#include "sharing/Reachability.h"

#include "AssertionText.h"
#include "foundation/Log.h"

#include <QSignalSpy>
#include <QTest>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

using namespace spindrel;
using spindrel::test::failedCheckFrom;
using R = Reachability;

namespace {

TEST(Reachability, TheStatusNeedsReachableWithoutAnUnmetConnection)
{
    struct Case
    {
        R::Flags flags;
        unsigned status;
    };
    const Case cases[] = {
        {0, 0},
        {R::Reachable, 1},
        {R::Reachable | R::ConnectionRequired, 0},
        {R::Reachable | R::ConnectionRequired | R::ConnectionOnDemand, 1},
        {R::Reachable | R::ConnectionRequired | R::ConnectionOnDemand | R::InterventionRequired, 0},
        {R::Reachable | R::ConnectionRequired | R::ConnectionOnTraffic, 1},
        {R::Reachable | R::ConnectionRequired | R::ConnectionOnTraffic | R::InterventionRequired, 0},
        {R::Reachable | R::InterventionRequired, 1},
        {R::ConnectionRequired | R::ConnectionOnDemand, 0},
        {R::IsDirect | R::IsLocalAddress | R::TransientConnection, 0},
        {R::Reachable | R::IsDirect | R::IsLocalAddress | R::TransientConnection, 1},
    };
    const LogSink previous = setLogSink([](const QString&) {}); // each call logs its flags
    Reachability watcher;
    for (const Case& c : cases)
        EXPECT_EQ(watcher.networkStatusForFlags(c.flags), c.status) << std::hex << c.flags;
    setLogSink(previous);
}

TEST(Reachability, MisuseIsAProgrammingErrorAndTheCallbackAnnounces)
{
    Reachability empty;
    EXPECT_EQ(
        failedCheckFrom([&] { EXPECT_EQ(empty.currentReachabilityStatus(), Reachability::NotReachable); }),
        "currentNetworkStatus called with NULL reachabilityRef");
    EXPECT_EQ(failedCheckFrom([&] { EXPECT_FALSE(empty.connectionRequired()); }),
              "connectionRequired called with NULL reachabilityRef");
    EXPECT_FALSE(empty.startNotifier());
    EXPECT_FALSE(Reachability::reachabilityWithHostName(QString()));
    EXPECT_FALSE(Reachability::reachabilityWithAddress(static_cast<const sockaddr*>(nullptr)));

    EXPECT_EQ(failedCheckFrom([] { Reachability::reachabilityCallback(nullptr); }),
              "info was NULL in ReachabilityCallback");
    QObject stranger;
    EXPECT_EQ(failedCheckFrom([&] { Reachability::reachabilityCallback(&stranger); }),
              "info was wrong class in ReachabilityCallback");
    auto watcher = Reachability::reachabilityForInternetConnection();
    QSignalSpy announced(watcher.get(), &Reachability::reachabilityChanged);
    Reachability::reachabilityCallback(watcher.get());
    ASSERT_EQ(announced.size(), 1);
    EXPECT_EQ(announced.at(0).at(0).value<Reachability*>(), watcher.get());
}

TEST(Reachability, LoopbackIsReachableLocalAndDirect)
{
    auto loopback = Reachability::reachabilityWithAddress(QHostAddress(QHostAddress::LocalHost));
    ASSERT_TRUE(loopback);
    const auto flags = loopback->reachabilityFlags();
    ASSERT_TRUE(flags.has_value());
    EXPECT_EQ(*flags & (R::Reachable | R::IsLocalAddress | R::IsDirect),
              R::Reachable | R::IsLocalAddress | R::IsDirect);
    EXPECT_EQ(loopback->currentReachabilityStatus(), R::ReachableViaNetwork);
    EXPECT_FALSE(loopback->connectionRequired());

    auto byName = Reachability::reachabilityWithHostName(QStringLiteral("localhost"));
    ASSERT_TRUE(byName);
    // The name resolves on the event loop; until then the default route stands in.
    EXPECT_TRUE(QTest::qWaitFor([&] { return byName->reachabilityFlags() == flags; }, 15000))
        << std::hex << byName->reachabilityFlags().value_or(0);
    EXPECT_TRUE(Reachability::reachabilityForLocalWiFi()->isLocalWiFi());
}

// The watchers in a network namespace of their own, whose links and routes the test makes.
class ReachabilityInOwnNetwork : public ::testing::Test
{
protected:
    void SetUp() override
    {
        mOriginal = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        if (mOriginal < 0 || ::unshare(CLONE_NEWNET) != 0)
            GTEST_SKIP() << "no permission to make a network namespace";
        mInside = true;
        if (!ip("link set lo up"))
            GTEST_SKIP() << "the ip tool is not available";
    }
    void TearDown() override
    {
        if (mInside)
            ::setns(mOriginal, CLONE_NEWNET);
        if (mOriginal >= 0)
            ::close(mOriginal);
    }
    static bool ip(const char* arguments)
    {
        const std::string command = std::string("ip ") + arguments + " >/dev/null 2>&1";
        return std::system(command.c_str()) == 0;
    }
    // Waits for announcements until the watcher's status is `status`.
    static bool becomes(Reachability& watcher, QSignalSpy& spy, unsigned status)
    {
        return QTest::qWaitFor(
            [&] { return !spy.isEmpty() && watcher.currentReachabilityStatus() == status; }, 15000);
    }

    int mOriginal = -1;
    bool mInside = false;
};

TEST_F(ReachabilityInOwnNetwork, RouteChangesAreAnnouncedAndMapped)
{
    auto internet = Reachability::reachabilityForInternetConnection();
    auto linkLocal = Reachability::reachabilityForLocalWiFi();
    EXPECT_EQ(internet->reachabilityFlags(), R::Flags(0));
    EXPECT_EQ(internet->currentReachabilityStatus(), R::NotReachable);
    ASSERT_TRUE(internet->startNotifier());
    ASSERT_TRUE(linkLocal->startNotifier());
    QSignalSpy internetChanges(internet.get(), &Reachability::reachabilityChanged);
    QSignalSpy linkLocalChanges(linkLocal.get(), &Reachability::reachabilityChanged);

    ASSERT_TRUE(ip("link add v0 type veth peer name v1"));
    ASSERT_TRUE(ip("addr add 10.9.0.1/24 dev v0"));
    ASSERT_TRUE(ip("link set v1 up"));
    ASSERT_TRUE(ip("link set v0 up"));
    ASSERT_TRUE(ip("route add default via 10.9.0.2"));
    ASSERT_TRUE(becomes(*internet, internetChanges, R::ReachableViaNetwork));
    // Through a gateway: reachable, not direct.
    EXPECT_EQ(internet->reachabilityFlags(), R::Reachable);
    EXPECT_EQ(linkLocal->currentReachabilityStatus(), R::NotReachable);

    auto neighbour = Reachability::reachabilityWithAddress(QHostAddress(QStringLiteral("10.9.0.7")));
    EXPECT_EQ(neighbour->reachabilityFlags(), R::Reachable | R::IsDirect);
    auto ourselves = Reachability::reachabilityWithAddress(QHostAddress(QStringLiteral("10.9.0.1")));
    EXPECT_EQ(ourselves->reachabilityFlags(), R::Reachable | R::IsLocalAddress | R::IsDirect);

    linkLocalChanges.clear();
    ASSERT_TRUE(ip("route add 169.254.0.0/16 dev v0"));
    ASSERT_TRUE(becomes(*linkLocal, linkLocalChanges, R::ReachableViaNetwork));

    internetChanges.clear();
    ASSERT_TRUE(ip("route del default"));
    ASSERT_TRUE(becomes(*internet, internetChanges, R::NotReachable));

    // Stopped watchers hear nothing.
    internet->stopNotifier();
    internetChanges.clear();
    ASSERT_TRUE(ip("route add default via 10.9.0.2"));
    internetChanges.wait(300);
    EXPECT_TRUE(internetChanges.isEmpty());
}

} // namespace
