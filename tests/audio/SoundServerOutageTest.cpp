#include "PrivateSoundServer.h"
#include "PulseTestSupport.h"
#include "audio/AudioException.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLAudioInputMeter.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

using namespace spindrel;
using namespace spindrel::test;
using State = VORLAudioHardware::ServerState;

namespace {

bool stateIs(State state)
{
    return VORLAudioHardware::sharedInstance()->serverState() == state;
}

// One server for every case, so that the hardware, made once per process, always looks for the
// same socket.
class SoundServerOutage : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { sServer = std::make_unique<PrivateSoundServer>(); }
    static void TearDownTestSuite() { sServer.reset(); }
    void SetUp() override { sServer->use(); }
    void TearDown() override { sServer->resume(); }

    PrivateSoundServer& server() { return *sServer; }
    static std::unique_ptr<PrivateSoundServer> sServer;
};

std::unique_ptr<PrivateSoundServer> SoundServerOutage::sServer;

TEST_F(SoundServerOutage, aKilledServerEmptiesTheListsAtOnceAndIsFoundAgainWhenItComesBack)
{
    ASSERT_TRUE(server().start());
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::Running); }, 20000));
    ASSERT_TRUE(uids(VORLAudioHardware::recordingDevices()).contains(QStringLiteral("vmic")));
    CountingHardwareDelegate deck;
    hardware->addDelegate(&deck);
    QSignalSpy states(hardware, &VORLAudioHardware::serverStateDidChange);

    QElapsedTimer clock;
    clock.start();
    server().kill();
    // A notice of the start may still be on its way: wait for the one of the loss.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !states.isEmpty() && states.last().at(0).value<State>() == State::NotRunning; }, 10000));
    reportMeasurement("killed server to the hardware's notice", clock.elapsed());
    EXPECT_EQ(hardware->serverState(), State::NotRunning);
    EXPECT_TRUE(VORLAudioHardware::recordingDevices().isEmpty());
    EXPECT_TRUE(VORLAudioHardware::playbackDevices().isEmpty());
    EXPECT_TRUE(VORLAudioHardware::defaultInputDevice().deviceUID().isEmpty());
    const VORLAudioDevice gone(QStringLiteral("vmic"));
    EXPECT_FALSE(gone.serverReachable());
    EXPECT_EQ(gone.numberOfChannelsForDirection(VORLAudioDevice::Input), 0u);
    EXPECT_EQ(VORLAudioHardware::deviceIDForDeviceUID(QStringLiteral("vmic")), 0u);
    EXPECT_THROW(VORLAudioInputMeter(gone, {0, 1}), AudioException);

    // Looking for it again and again while it is gone changes nothing, and is no device change:
    // that would make the preferences forget the devices the user chose.
    QTest::qWait(2 * VORLAudioHardware::kCheckIntervalMs + 500);
    EXPECT_EQ(hardware->serverState(), State::NotRunning);
    EXPECT_EQ(deck.listChanges, 0);

    ASSERT_TRUE(server().start());
    clock.restart();
    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::Running); }, 20000));
    reportMeasurement("restarted server to the hardware's reconnection", clock.elapsed());
    EXPECT_TRUE(uids(VORLAudioHardware::recordingDevices()).contains(QStringLiteral("vmic")));
    EXPECT_TRUE(uids(VORLAudioHardware::playbackDevices()).contains(QStringLiteral("spk")));
    EXPECT_EQ(VORLAudioHardware::defaultInputDevice().deviceUID(), QStringLiteral("vmic"));
    EXPECT_EQ(VORLAudioDevice(QStringLiteral("vmic")).numberOfChannelsForDirection(VORLAudioDevice::Input),
              2u);
    // The devices are back, which the deck hears as a device list change, before the state.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !states.isEmpty() && states.last().at(0).value<State>() == State::Running; }, 10000));
    EXPECT_EQ(deck.listChanges, 1);
    EXPECT_EQ(deck.defaultChanges, 0) << "it came back with the same default";
    hardware->removeDelegate(&deck);
}

TEST_F(SoundServerOutage, aStoppedServerHoldsUpNoQueryAndNoMeterAndIsFollowedAgainWhenItGoesOn)
{
    ASSERT_TRUE(server().start());
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::Running); }, 20000));
    VORLAudioInputMeter meter(VORLAudioDevice(QStringLiteral("vmic")), {0, 1});
    meter.start();

    QElapsedTimer sincePause;
    sincePause.start();
    server().pause();
    {
        HangGuard guard(server(), 10000);
        QElapsedTimer clock;
        clock.start();
        const QList<VORLAudioDevice> inputs = VORLAudioHardware::recordingDevices();
        const QList<VORLAudioDevice> outputs = VORLAudioHardware::playbackDevices();
        const VORLAudioDevice input = VORLAudioHardware::defaultInputDevice();
        const VORLAudioDevice byUID(QStringLiteral("spk"));
        const quint32 id = VORLAudioHardware::deviceIDForDeviceUID(QStringLiteral("vmic"));
        meter.levels();
        reportMeasurement("queries on a stopped server", clock.elapsed());
        ASSERT_FALSE(guard.finish()) << "a query waited on the stopped server";
        // What the server said last.
        EXPECT_TRUE(uids(inputs).contains(QStringLiteral("vmic")));
        EXPECT_TRUE(uids(outputs).contains(QStringLiteral("spk")));
        EXPECT_EQ(input.deviceUID(), QStringLiteral("vmic"));
        EXPECT_EQ(byUID.numberOfChannelsForDirection(VORLAudioDevice::Output), 2u);
        EXPECT_NE(id, 0u);
    }

    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::NotResponding); }, 10000));
    reportMeasurement("stopped server to the hardware's notice", sincePause.elapsed());
    EXPECT_TRUE(uids(VORLAudioHardware::recordingDevices()).contains(QStringLiteral("vmic")));
    std::unique_ptr<VORLAudioInputMeter> later;
    {
        // Nothing made on the stopped server waits for it: a meter gets going in the background,
        // and what would wait for a stream refuses at once.
        HangGuard guard(server(), 10000);
        QElapsedTimer clock;
        clock.start();
        meter.stop();
        later = std::make_unique<VORLAudioInputMeter>(VORLAudioDevice(QStringLiteral("vmic")),
                                                      QList<unsigned>{0, 1});
        later->start();
        EXPECT_FALSE(later->isCapturing());
        EXPECT_EQ(later->levels(), std::make_pair(-100.0, -100.0));
        EXPECT_FALSE(VORLAudioHardware::streamProblem().isEmpty());
        reportMeasurement("a meter made on a stopped server returns after", clock.elapsed());
        ASSERT_FALSE(guard.finish()) << "making a meter waited on the stopped server";
    }

    QSignalSpy states(hardware, &VORLAudioHardware::serverStateDidChange);
    server().resume();
    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::Running); }, 20000));
    EXPECT_TRUE(QTest::qWaitFor([&] { return later->isCapturing(); }, 20000))
        << "the meter made meanwhile captures once the server answers";
    EXPECT_TRUE(later->failure().isEmpty()) << later->failure().toStdString();
    EXPECT_TRUE(VORLAudioHardware::streamProblem().isEmpty());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !states.isEmpty(); }, 10000));
    EXPECT_EQ(states.last().at(0).value<State>(), State::Running);
}

TEST_F(SoundServerOutage, aServerStoppedBeforeTheFirstQueryHoldsItUpOnlyBriefly)
{
    ASSERT_TRUE(server().start());
    server().pause();
    HangGuard guard(server(), 10000);
    QElapsedTimer clock;
    clock.start();
    const VORLAudioDevice input = VORLAudioHardware::defaultInputDevice();
    reportMeasurement("first query on a stopped server", clock.elapsed());
    ASSERT_FALSE(guard.finish()) << "the first query waited on the stopped server";
    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::NotResponding); }, 10000));

    server().resume();
    ASSERT_TRUE(QTest::qWaitFor([] { return stateIs(State::Running); }, 20000));
    EXPECT_EQ(VORLAudioHardware::defaultInputDevice().deviceUID(), QStringLiteral("vmic"));
}

} // namespace
