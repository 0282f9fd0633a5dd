#include "PulseTestSupport.h"
#include "audio/VORLAudioHardware.h"

#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSet>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

TEST(AudioHardware, realInputsComeBeforeTheMonitorsOfOutputs)
{
    const QList<VORLAudioDevice> inputs = VORLAudioHardware::recordingDevices();
    const QStringList names = uids(inputs);
    ASSERT_TRUE(names.contains(QStringLiteral("vmic")));
    ASSERT_TRUE(names.contains(QStringLiteral("spk.monitor")));
    bool monitorSeen = false;
    for (const VORLAudioDevice& device : inputs) {
        EXPECT_FALSE(monitorSeen && !device.isMonitor())
            << device.deviceUID().toStdString() << " after a monitor";
        monitorSeen = monitorSeen || device.isMonitor();
    }
    EXPECT_EQ(names.first(), QStringLiteral("vmic"));
    EXPECT_TRUE(uids(VORLAudioHardware::playbackDevices()).contains(QStringLiteral("spk")));
    EXPECT_FALSE(uids(VORLAudioHardware::playbackDevices()).contains(QStringLiteral("vmic")));
    EXPECT_EQ(VORLAudioHardware::defaultInputDevice().deviceUID(), QStringLiteral("vmic"));
    EXPECT_EQ(VORLAudioHardware::defaultOutputDevice().deviceUID(), QStringLiteral("spk"));
}

TEST(AudioHardware, devicesAreKnownByUIDAndUnknownOnesStandForTheDefault)
{
    const VORLAudioDevice input(QStringLiteral("vmic"));
    EXPECT_FALSE(input.deviceName().isEmpty());
    EXPECT_EQ(input.numberOfChannelsForDirection(VORLAudioDevice::Input), 2u);
    EXPECT_EQ(input.numberOfChannelsForDirection(VORLAudioDevice::Output), 0u);
    EXPECT_TRUE(input.canRecordStereo());
    // The rate the server gives the device: 44.1 kHz on PulseAudio, 48 kHz on PipeWire.
    const QStringList row =
        pactl({QStringLiteral("list"), QStringLiteral("short"), QStringLiteral("sources")})
            .split(QLatin1Char('\n'))
            .filter(QRegularExpression(QStringLiteral("\\tvmic\\t")))
            .value(0)
            .split(QLatin1Char('\t'));
    const QString rate = row.value(3).section(QLatin1Char(' '), -1).remove(QStringLiteral("Hz"));
    EXPECT_EQ(input.nominalSampleRate(VORLAudioDevice::Input), rate.toDouble())
        << row.join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(VORLAudioHardware::recordingDevices().contains(input));

    EXPECT_EQ(VORLAudioDevice(QStringLiteral("spk")).numberOfChannelsForDirection(VORLAudioDevice::Output),
              2u);

    // An unplugged device that was stored: usable as the default, but not found in the list.
    const VORLAudioDevice unplugged(QStringLiteral("usb-headset-that-is-gone"));
    EXPECT_EQ(unplugged.deviceName(), input.deviceName());
    EXPECT_EQ(unplugged.sourceName(), QStringLiteral("vmic"));
    EXPECT_EQ(unplugged.sinkName(), QStringLiteral("spk"));
    EXPECT_TRUE(unplugged.canRecordStereo());
    EXPECT_FALSE(unplugged.isPresent(VORLAudioDevice::Input));
    EXPECT_FALSE(VORLAudioHardware::recordingDevices().contains(unplugged));

    EXPECT_NE(VORLAudioHardware::deviceIDForDeviceUID(QStringLiteral("vmic")), 0u);
    EXPECT_EQ(VORLAudioHardware::deviceIDForDeviceUID(QString()), 0u);
    EXPECT_EQ(VORLAudioHardware::deviceIDForDeviceUID(QStringLiteral("usb-headset-that-is-gone")), 0u);
}

// A device is known once the server has told about it: the notice says when.
TEST(AudioHardware, pluggingAndUnpluggingADeviceIsNoticedOnTheMainThread)
{
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    CountingHardwareDelegate deck;
    hardware->addDelegate(&deck);
    QSignalSpy listChanged(hardware, &VORLAudioHardware::deviceListDidChange);

    const QString module = pactl({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                                  QStringLiteral("sink_name=hotplug"), QStringLiteral("channels=1")});
    ASSERT_FALSE(module.isEmpty());
    ASSERT_TRUE(listChanged.wait(10000));
    EXPECT_GE(deck.listChanges, 1);
    EXPECT_TRUE(uids(VORLAudioHardware::recordingDevices()).contains(QStringLiteral("hotplug.monitor")));
    const VORLAudioDevice mono(QStringLiteral("hotplug.monitor"));
    EXPECT_EQ(mono.numberOfChannelsForDirection(VORLAudioDevice::Input), 1u);
    EXPECT_FALSE(mono.canRecordStereo());

    const int before = deck.listChanges;
    pactl({QStringLiteral("unload-module"), module});
    ASSERT_TRUE(listChanged.wait(10000));
    EXPECT_GT(deck.listChanges, before);
    EXPECT_FALSE(uids(VORLAudioHardware::recordingDevices()).contains(QStringLiteral("hotplug.monitor")));

    hardware->removeDelegate(&deck);
    const int afterRemoval = deck.listChanges;
    const QString again = pactl({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                                 QStringLiteral("sink_name=hotplug2")});
    ASSERT_TRUE(listChanged.wait(10000));
    EXPECT_EQ(deck.listChanges, afterRemoval) << "a removed delegate hears nothing";
    pactl({QStringLiteral("unload-module"), again});
    EXPECT_TRUE(listChanged.wait(10000));
}

TEST(AudioHardware, choosingAnotherDefaultInputIsNoticedEvenDuringABurstOfEvents)
{
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    // A change made before the hardware has heard the server at all is no change to anyone: on a
    // busy machine the first answer can come after the first query gave up waiting for it.
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return hardware->serverState() == VORLAudioHardware::ServerState::Running; }, 10000));
    QSignalSpy defaultChanged(hardware, &VORLAudioHardware::defaultInputDeviceDidChange);
    QSignalSpy listChanged(hardware, &VORLAudioHardware::deviceListDidChange);
    // The other tests expect the usual default, whatever happens here.
    const auto restore = qScopeGuard([] {
        pactl({QStringLiteral("set-default-source"), QStringLiteral("vmic")});
    });
    // Another program turning a volume over and over, as a desktop's mixer does: PipeWire's pulse
    // server can leave a connection's defaults behind when they change amid such a burst.
    QProcess mixer;
    mixer.start(QStringLiteral("sh"),
                {QStringLiteral("-c"), QStringLiteral("while :; do pactl set-sink-volume mic4 40%; "
                                                      "pactl set-sink-volume mic4 60%; done")});
    ASSERT_TRUE(mixer.waitForStarted());
    const auto stopMixer = qScopeGuard([&] {
        mixer.kill();
        mixer.waitForFinished();
        pactl({QStringLiteral("set-sink-volume"), QStringLiteral("mic4"), QStringLiteral("100%")});
    });
    for (const QString& source : {QStringLiteral("spk.monitor"), QStringLiteral("vmic"),
                                  QStringLiteral("spk.monitor"), QStringLiteral("vmic")}) {
        const qsizetype seen = defaultChanged.size();
        pactl({QStringLiteral("set-default-source"), source});
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return defaultChanged.size() > seen &&
                       VORLAudioHardware::defaultInputDevice().deviceUID() == source;
            },
            20000))
            << "chose " << source.toStdString()
            << "; the server's default: " << pactl({QStringLiteral("get-default-source")}).toStdString()
            << ", the hardware's: " << VORLAudioHardware::defaultInputDevice().deviceUID().toStdString();
    }
    EXPECT_EQ(listChanged.count(), 0) << "no device came or went";
}

TEST(AudioHardware, devicesOfTheSameNameAreToldApartInMenus)
{
    VORLAudioHardware* hardware = VORLAudioHardware::sharedInstance();
    QSignalSpy listChanged(hardware, &VORLAudioHardware::deviceListDidChange);
    QStringList modules;
    for (const char* sink : {"twin1", "twin2"}) {
        modules << pactl({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                          QStringLiteral("sink_name=") + QLatin1String(sink),
                          QStringLiteral("sink_properties=device.description=Twin")});
    }
    const auto unload = qScopeGuard([&] {
        for (const QString& module : modules)
            pactl({QStringLiteral("unload-module"), module});
    });
    ASSERT_TRUE(QTest::qWaitFor(
        [] {
            const QStringList known = uids(VORLAudioHardware::playbackDevices());
            return known.contains(QStringLiteral("twin1")) && known.contains(QStringLiteral("twin2"));
        },
        10000));
    const QList<VORLAudioDevice> devices = VORLAudioHardware::playbackDevices();
    const QStringList names = VORLAudioDevice::distinctNames(devices);
    ASSERT_EQ(names.size(), devices.size());
    QStringList plain;
    for (const VORLAudioDevice& device : devices)
        plain << device.deviceName();
    QStringList twins;
    for (qsizetype i = 0; i < devices.size(); ++i) {
        if (devices[i].deviceName() == QStringLiteral("Twin")) {
            twins << names[i];
        } else if (plain.count(plain[i]) == 1) {
            EXPECT_EQ(names[i], plain[i]) << "a name of its own stays as it is";
        }
    }
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()).size(), names.size())
        << "every entry tells its device";
    ASSERT_EQ(twins.size(), 2);
    EXPECT_NE(twins[0], twins[1]);
    for (const QString& twin : twins)
        EXPECT_TRUE(twin.startsWith(QStringLiteral("Twin ("))) << twin.toStdString();
}
