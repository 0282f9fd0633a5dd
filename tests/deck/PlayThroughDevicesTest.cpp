#include "PlayThroughStreams.h"
#include "TestPreferences.h"
#include "audio/AudioTestSupport.h"
#include "audio/CAPlayThrough.h"
#include "audio/CAPlayThroughHost.h"
#include "audio/PrivateSoundServer.h"
#include "audio/PulseTestSupport.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLAudioPlaythroughManager.h"
#include "deck/SpindrelSoftwarePlayThroughManager.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <iostream>

using namespace spindrel;
using namespace spindrel::test;

namespace K = DefaultsKeys;

namespace {

using State = SpindrelSoftwarePlayThroughManager::State;

constexpr int kDeadlineMs = 30000;

const CAPlayThrough* engineOf(const SpindrelSoftwarePlayThroughManager& manager)
{
    const VORLAudioPlaythroughManager* running = manager.playthroughManager();
    return running && running->isRunning() ? running->playThroughHost()->playThrough() : nullptr;
}

QString lastMessage(const QSignalSpy& messages)
{
    return messages.isEmpty() ? QString() : messages.last().at(0).toString();
}

// Play-through on a sound server of the test's own, which it may kill, and whose devices it
// plugs, unplugs and makes the default; the shared server of the other tests is never touched.
class PlayThroughDevices : public ::testing::Test
{
protected:
    void SetUp() override { mServer.use(); }

    // Starts the server and waits until the deck's view of the devices has caught up with it.
    bool startServer()
    {
        return mServer.start() &&
               QTest::qWaitFor(
                   [] {
                       return VORLAudioHardware::sharedInstance()->serverState() ==
                                  VORLAudioHardware::ServerState::Running &&
                              VORLAudioDevice(QStringLiteral("spk")).isPresent(VORLAudioDevice::Output);
                   },
                   kDeadlineMs);
    }

    // Waits until the manager runs and the server has its streams on exactly these devices.
    bool waitUntilPlaying(const SpindrelSoftwarePlayThroughManager& manager, const QString& source,
                          const QString& sink)
    {
        return QTest::qWaitFor(
            [&] {
                return manager.state() == State::Running && engineOf(manager) &&
                       playThroughSources() == QStringList{source} && playThroughSinks() == QStringList{sink};
            },
            kDeadlineMs);
    }

    // The deck offers a device once its view of the server has it; so does the test.
    static bool waitForDevice(const QString& deviceUID, VORLAudioDevice::Direction direction)
    {
        return QTest::qWaitFor([&] { return VORLAudioDevice(deviceUID).isPresent(direction); }, kDeadlineMs);
    }

    // Loads a module and returns its index.
    QString load(const QStringList& arguments)
    {
        const QString index = pactl(QStringList{QStringLiteral("load-module")} + arguments);
        EXPECT_FALSE(index.isEmpty()) << arguments.join(u' ').toStdString();
        return index;
    }

    PrivateSoundServer mServer;
    QTemporaryDir mLibrary;
    TestPreferences mPreferences{mLibrary.path()};
};

} // namespace

TEST_F(PlayThroughDevices, withoutASoundServerItStaysOffWithAMessageAndStartsWhenTheServerComes)
{
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    QElapsedTimer clock;
    clock.start();
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !messages.isEmpty(); }, kDeadlineMs));
    std::cout << "no server: message after " << clock.elapsed() << " ms\n";
    EXPECT_EQ(manager.state(), State::Interrupted);
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("sound server")))
        << lastMessage(messages).toStdString();
    EXPECT_EQ(manager.playthroughManager(), nullptr);

    ASSERT_TRUE(startServer());
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));
    EXPECT_EQ(messages.count(), 2);
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("on again")))
        << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, aLostServerStopsItWithAMessageAndItComesBackWithTheServer)
{
    ASSERT_TRUE(startServer());
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));

    QElapsedTimer clock;
    clock.start();
    mServer.kill();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !messages.isEmpty(); }, kDeadlineMs));
    std::cout << "server killed: message after " << clock.elapsed() << " ms\n";
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("sound server")))
        << lastMessage(messages).toStdString();
    EXPECT_EQ(manager.state(), State::Interrupted);
    EXPECT_EQ(manager.playthroughManager(), nullptr);

    ASSERT_TRUE(startServer());
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("on again")))
        << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, theDefaultDevicesAreFollowedWhenTheUserPicksOthers)
{
    ASSERT_TRUE(startServer());
    load({QStringLiteral("module-null-sink"), QStringLiteral("sink_name=spk2")});
    load({QStringLiteral("module-remap-source"), QStringLiteral("master=mic.monitor"),
          QStringLiteral("source_name=vmic2")});
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));

    pactl({QStringLiteral("set-default-sink"), QStringLiteral("spk2")});
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk2")));
    EXPECT_EQ(engineOf(manager)->outputDevice().mName, QStringLiteral("spk2"));

    pactl({QStringLiteral("set-default-source"), QStringLiteral("vmic2")});
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic2"), QStringLiteral("spk2")));
    EXPECT_EQ(engineOf(manager)->inputDevice().mName, QStringLiteral("vmic2"));
    EXPECT_EQ(messages.count(), 0) << "following the default is no news: "
                                   << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, anUnpluggedDefaultOutputGivesWayToTheNextDefault)
{
    ASSERT_TRUE(startServer());
    const QString usb = load({QStringLiteral("module-null-sink"), QStringLiteral("sink_name=usb")});
    pactl({QStringLiteral("set-default-sink"), QStringLiteral("usb")});
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("usb")));

    pactl({QStringLiteral("unload-module"), usb});
    const QString nextDefault = pactl({QStringLiteral("get-default-sink")});
    ASSERT_FALSE(nextDefault.isEmpty());
    ASSERT_NE(nextDefault, QStringLiteral("usb"));
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), nextDefault));
    EXPECT_EQ(messages.count(), 0) << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, anUnpluggedChosenOutputStopsItUntilTheDeviceIsBack)
{
    ASSERT_TRUE(startServer());
    const QStringList usbSink{QStringLiteral("module-null-sink"), QStringLiteral("sink_name=usb"),
                              QStringLiteral("sink_properties='device.description=\"USB Speakers\"'")};
    const QString usb = load(usbSink);
    ASSERT_TRUE(waitForDevice(QStringLiteral("usb"), VORLAudioDevice::Output));
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("usb"));
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("usb")));
    EXPECT_TRUE(messages.isEmpty()) << lastMessage(messages).toStdString();
    messages.clear();

    QElapsedTimer clock;
    clock.start();
    pactl({QStringLiteral("unload-module"), usb});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !messages.isEmpty(); }, kDeadlineMs));
    std::cout << "chosen output unplugged: message after " << clock.elapsed() << " ms\n";
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("“USB Speakers”")))
        << lastMessage(messages).toStdString();
    EXPECT_EQ(manager.state(), State::Interrupted);
    // Not moved to the default output behind the user's back.
    QTest::qWait(1000);
    EXPECT_TRUE(playThroughSinks().isEmpty()) << playThroughSinks().join(u',').toStdString();
    EXPECT_TRUE(playThroughSources().isEmpty()) << playThroughSources().join(u',').toStdString();

    load(usbSink);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("usb")));
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("on again")))
        << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, anUnpluggedChosenInputStopsItUntilTheDeviceIsBack)
{
    ASSERT_TRUE(startServer());
    const QStringList usbSource{QStringLiteral("module-remap-source"), QStringLiteral("master=mic.monitor"),
                                QStringLiteral("source_name=usbmic"),
                                QStringLiteral("source_properties='device.description=\"USB Microphone\"'")};
    const QString usbmic = load(usbSource);
    ASSERT_TRUE(waitForDevice(QStringLiteral("usbmic"), VORLAudioDevice::Input));
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("usbmic"));
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("usbmic"), QStringLiteral("spk")));
    EXPECT_TRUE(messages.isEmpty()) << lastMessage(messages).toStdString();
    messages.clear();

    pactl({QStringLiteral("unload-module"), usbmic});
    ASSERT_TRUE(QTest::qWaitFor([&] { return !messages.isEmpty(); }, kDeadlineMs));
    EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("“USB Microphone”")))
        << lastMessage(messages).toStdString();
    EXPECT_EQ(manager.state(), State::Interrupted);

    load(usbSource);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("usbmic"), QStringLiteral("spk")));
}

TEST_F(PlayThroughDevices, aMonoInputIsHeardOnBothSidesOfAStereoOutput)
{
    ASSERT_TRUE(startServer());
    load({QStringLiteral("module-remap-source"), QStringLiteral("master=mic.monitor"),
          QStringLiteral("source_name=vmono"), QStringLiteral("channels=1"),
          QStringLiteral("channel_map=mono")});
    TonePlayer tone(QStringLiteral("mic"), {440.0, 440.0});
    ASSERT_TRUE(tone.isRunning());
    ASSERT_TRUE(waitForSignal(QStringLiteral("vmono")));
    ASSERT_TRUE(waitForDevice(QStringLiteral("vmono"), VORLAudioDevice::Input));
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmono"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    // Two channels chosen for an earlier, stereo device: the mono one has only the first.
    mPreferences.setDefaultsValue(K::RecordDeviceChannels, QVariantList{0, 1});
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmono"), QStringLiteral("spk")));
    EXPECT_EQ(engineOf(manager)->channelSources(), (std::vector<int>{0, 0}));

    QTest::qWait(500);
    MonitorCapture capture(QStringLiteral("spk.monitor"));
    QTest::qWait(1000);
    const std::vector<float> heard = capture.stop();
    for (const int side : {0, 1}) {
        std::vector<float> channel;
        for (size_t i = size_t(side); i < heard.size(); i += 2)
            channel.push_back(heard[i]);
        EXPECT_GT(rmsDecibels(channel), -20.0) << "side " << side;
        EXPECT_GT(medianToneShare(channel, 44100, 440.0), 0.8) << "side " << side;
    }
}
