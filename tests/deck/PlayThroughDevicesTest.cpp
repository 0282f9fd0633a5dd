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
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>
#include <iostream>
#include <string_view>

using namespace spindrel;
using namespace spindrel::test;

namespace K = DefaultsKeys;

namespace {

using State = SpindrelSoftwarePlayThroughManager::State;

constexpr int kDeadlineMs = 30000;

/// What the sound server itself says about the play-through's streams (through pactl, an
/// independent reader): the device each of them is connected to, by name.
QStringList playThroughDevices(bool playback)
{
    const QString objects = playback ? QStringLiteral("sinks") : QStringLiteral("sources");
    auto list = [](const QStringList& arguments) {
        return QJsonDocument::fromJson(
                   runProgram(QStringLiteral("pactl"),
                              QStringList{QStringLiteral("-f"), QStringLiteral("json")} + arguments))
            .array();
    };
    QMap<int, QString> names;
    for (const QJsonValue device : list({QStringLiteral("list"), QStringLiteral("short"), objects}))
        names.insert(device[QStringLiteral("index")].toInt(), device[QStringLiteral("name")].toString());
    const QString client = playback ? QStringLiteral("Spindrel play-through output")
                                    : QStringLiteral("Spindrel play-through input");
    QStringList devices;
    const QString streams = playback ? QStringLiteral("sink-inputs") : QStringLiteral("source-outputs");
    for (const QJsonValue stream : list({QStringLiteral("list"), streams})) {
        if (stream[QStringLiteral("properties")][QStringLiteral("application.name")].toString() == client)
            devices << names.value(
                stream[playback ? QStringLiteral("sink") : QStringLiteral("source")].toInt());
    }
    return devices;
}

/// The engine of a play-through that runs, none otherwise.
const CAPlayThrough* engineOf(const SpindrelSoftwarePlayThroughManager& manager)
{
    const VORLAudioPlaythroughManager* running = manager.playthroughManager();
    return running && running->isRunning() ? running->playThroughHost()->playThrough() : nullptr;
}

QStringList playThroughSinks()
{
    return playThroughDevices(true);
}

QStringList playThroughSources()
{
    return playThroughDevices(false);
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

TEST_F(PlayThroughDevices, withoutASoundServerItStaysOffWithAMessageAndComesBackWithEachStart)
{
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    QElapsedTimer clock;
    clock.start();
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    // First no server at all, then one that is killed while the play-through runs.
    for (const char* outage : {"no server", "server killed"}) {
        SCOPED_TRACE(outage);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !messages.isEmpty(); }, kDeadlineMs));
        std::cout << outage << ": message after " << clock.elapsed() << " ms\n";
        EXPECT_EQ(manager.state(), State::Interrupted);
        EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("sound server")))
            << lastMessage(messages).toStdString();
        EXPECT_EQ(manager.playthroughManager(), nullptr);

        ASSERT_TRUE(startServer());
        ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));
        if (std::string_view(outage) == "no server") {
            EXPECT_EQ(messages.count(), 2) << "one message while it waits, however long";
        }
        EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("on again")))
            << lastMessage(messages).toStdString();
        messages.clear();
        clock.restart();
        mServer.kill();
    }
}

TEST_F(PlayThroughDevices, followsTheSwitchAndIsMadeAnewOnEachDeviceOrChannelChange)
{
    ASSERT_TRUE(startServer());
    const QString four = QStringLiteral("channel_map=front-left,front-right,rear-left,rear-right");
    load({QStringLiteral("module-null-sink"), QStringLiteral("sink_name=mic4"), QStringLiteral("channels=4"),
          four});
    load({QStringLiteral("module-remap-source"), QStringLiteral("master=mic4.monitor"),
          QStringLiteral("source_name=vmic4"), QStringLiteral("channels=4"), four,
          QStringLiteral("master_") + four});
    ASSERT_TRUE(waitForDevice(QStringLiteral("vmic4"), VORLAudioDevice::Input));
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
    EXPECT_EQ(manager.state(), State::Off) << "off until the user turns it on";
    EXPECT_EQ(manager.playthroughManager(), nullptr);

    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    EXPECT_EQ(manager.state(), State::Starting) << "the deck does not wait for the streams";
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));

    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic4"));
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic4"), QStringLiteral("spk")));
    EXPECT_EQ(engineOf(manager)->inputDevice().mChannels, 4u);

    mPreferences.setDefaultsValue(K::RecordDeviceChannels, QVariantList{2, 3});
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return engineOf(manager) && engineOf(manager)->channelMap() == QList<int>{2, 3};
        },
        kDeadlineMs));

    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("mic"));
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic4"), QStringLiteral("mic")))
        << "the other choices stay";

    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, false);
    EXPECT_EQ(manager.state(), State::Off);
    EXPECT_EQ(manager.playthroughManager(), nullptr);
    EXPECT_EQ(messages.count(), 0) << "nothing went wrong: " << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, aQuickRunOfChangesEndsOnTheLastOne)
{
    ASSERT_TRUE(startServer());
    mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
    SpindrelSoftwarePlayThroughManager manager(mPreferences);
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("spk.monitor"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("mic"));
    mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
    mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic"), QStringLiteral("spk")));
    // Superseded attempts are taken down: one engine plays, no leftovers linger.
    QTest::qWait(500);
    EXPECT_EQ(manager.state(), State::Running);
    EXPECT_EQ(playThroughSinks(), QStringList{QStringLiteral("spk")});
    EXPECT_EQ(playThroughSources(), QStringList{QStringLiteral("vmic")});
}

TEST_F(PlayThroughDevices, theDefaultDevicesAreFollowedAndAnUnpluggedDefaultGivesWayToTheNext)
{
    ASSERT_TRUE(startServer());
    const QString spk2 = load({QStringLiteral("module-null-sink"), QStringLiteral("sink_name=spk2")});
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

    pactl({QStringLiteral("unload-module"), spk2});
    const QString nextDefault = pactl({QStringLiteral("get-default-sink")});
    ASSERT_FALSE(nextDefault.isEmpty());
    ASSERT_NE(nextDefault, QStringLiteral("spk2"));
    ASSERT_TRUE(waitUntilPlaying(manager, QStringLiteral("vmic2"), nextDefault));
    EXPECT_EQ(messages.count(), 0) << "following the default is no news: "
                                   << lastMessage(messages).toStdString();
}

TEST_F(PlayThroughDevices, anUnpluggedChosenDeviceStopsItUntilTheDeviceIsBack)
{
    ASSERT_TRUE(startServer());
    const struct
    {
        QStringList module;
        QString device;
        VORLAudioDevice::Direction direction;
        QString key;
        QString source, sink, name;
    } cases[] = {
        {{QStringLiteral("module-null-sink"), QStringLiteral("sink_name=usb"),
          QStringLiteral("sink_properties='device.description=\"USB Speakers\"'")},
         QStringLiteral("usb"),
         VORLAudioDevice::Output,
         K::PlaybackDeviceUID,
         QStringLiteral("vmic"),
         QStringLiteral("usb"),
         QStringLiteral("“USB Speakers”")},
        {{QStringLiteral("module-remap-source"), QStringLiteral("master=mic.monitor"),
          QStringLiteral("source_name=usbmic"),
          QStringLiteral("source_properties='device.description=\"USB Microphone\"'")},
         QStringLiteral("usbmic"),
         VORLAudioDevice::Input,
         K::RecordDeviceUID,
         QStringLiteral("usbmic"),
         QStringLiteral("spk"),
         QStringLiteral("“USB Microphone”")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.device.toStdString());
        const QString module = load(c.module);
        ASSERT_TRUE(waitForDevice(c.device, c.direction));
        mPreferences.setDefaultsValue(K::RecordDeviceUID, QStringLiteral("vmic"));
        mPreferences.setDefaultsValue(K::PlaybackDeviceUID, QStringLiteral("spk"));
        mPreferences.setDefaultsValue(c.key, c.device);
        mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, true);
        SpindrelSoftwarePlayThroughManager manager(mPreferences);
        QSignalSpy messages(&manager, &SpindrelSoftwarePlayThroughManager::playThroughMessage);
        ASSERT_TRUE(waitUntilPlaying(manager, c.source, c.sink));
        EXPECT_TRUE(messages.isEmpty()) << lastMessage(messages).toStdString();

        QElapsedTimer clock;
        clock.start();
        pactl({QStringLiteral("unload-module"), module});
        ASSERT_TRUE(QTest::qWaitFor([&] { return !messages.isEmpty(); }, kDeadlineMs));
        std::cout << "chosen device unplugged: message after " << clock.elapsed() << " ms\n";
        EXPECT_TRUE(lastMessage(messages).contains(c.name)) << lastMessage(messages).toStdString();
        EXPECT_EQ(manager.state(), State::Interrupted);
        // Not moved to the default device behind the user's back.
        QTest::qWait(1000);
        EXPECT_TRUE(playThroughSinks().isEmpty()) << playThroughSinks().join(u',').toStdString();
        EXPECT_TRUE(playThroughSources().isEmpty()) << playThroughSources().join(u',').toStdString();

        load(c.module);
        ASSERT_TRUE(waitUntilPlaying(manager, c.source, c.sink));
        EXPECT_TRUE(lastMessage(messages).contains(QStringLiteral("on again")))
            << lastMessage(messages).toStdString();
        mPreferences.setDefaultsValue(K::EnableSoftwarePlaythrough, false);
    }
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
