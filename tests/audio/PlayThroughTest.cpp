#include "AudioTestSupport.h"
#include "PulseTestSupport.h"
#include "audio/CAPlayThrough.h"
#include "audio/CAPlayThroughHost.h"
#include "audio/VORLAudioPlaythroughManager.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <array>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <thread>

using namespace spindrel;
using namespace spindrel::test;

namespace {

// One channel of an interleaved capture, past its first 0.2 s (the engine's start).
std::vector<float> channelOf(const std::vector<float>& samples, int channels, int channel, int rate)
{
    std::vector<float> out;
    for (size_t i = size_t(rate / 5) * size_t(channels) + size_t(channel); i < samples.size();
         i += size_t(channels))
        out.push_back(samples[i]);
    return out;
}

std::vector<float> captureOutput(double seconds)
{
    MonitorCapture capture(QStringLiteral("spk.monitor"));
    QTest::qWait(int(seconds * 1000));
    return capture.stop();
}

CAPlayThrough& engineOf(const VORLAudioPlaythroughManager& manager)
{
    return *manager.playThroughHost()->playThrough();
}

// The threads of this process the kernel schedules round-robin in real time, read from /proc.
int realtimeThreads()
{
    int count = 0;
    for (const QString& task :
         QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(QStringLiteral("/proc/self/task/%1/stat").arg(task));
        if (!stat.open(QIODevice::ReadOnly))
            continue;
        // The name in parentheses may hold blanks; the policy is the 39th field after it.
        const QByteArray line = stat.readAll();
        const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
        if (fields.size() > 38 && fields.at(38).toInt() == SCHED_RR)
            ++count;
    }
    return count;
}

// Whether this process may run a thread in real time: asked of the kernel with a thread of its own.
bool realtimeAllowed()
{
    bool allowed = false;
    std::thread probe([&allowed] {
        sched_param priority{};
        priority.sched_priority = sched_get_priority_min(SCHED_RR);
        allowed = pthread_setschedparam(pthread_self(), SCHED_RR, &priority) == 0;
    });
    probe.join();
    return allowed;
}

} // namespace

TEST(PlayThrough, theChosenInputChannelsAreHeardOnlyWhileRunningAndOneChannelOnBothSides)
{
    const struct
    {
        const char* sink;
        const char* source;
        std::vector<double> tones;
        QString channelMap;
        QList<int> channels;
        std::vector<int> sources; // the input channel behind each output side
    } cases[] = {
        {"mic", "vmic", {440.0, 660.0}, QString(), {}, {0, 1}},
        // Four channels in, two out: the engine carries the smaller count.
        {"mic4",
         "vmic4",
         {300.0, 500.0, 700.0, 900.0},
         QStringLiteral("front-left,front-right,rear-left,rear-right"),
         {2, 3},
         {2, 3}},
        {"mic", "vmic", {440.0, 660.0}, QString(), {1}, {1, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.source + std::string(c.channels.isEmpty() ? " (all channels)" : ""));
        TonePlayer tone(QString::fromLatin1(c.sink), c.tones, 0.5, c.channelMap);
        ASSERT_TRUE(tone.isRunning());
        // An idle source first delivers in one late burst, which would set the offset by itself.
        ASSERT_TRUE(waitForSignal(QString::fromLatin1(c.source)));
        VORLAudioPlaythroughManager manager(QString::fromLatin1(c.source), QStringLiteral("spk"), c.channels);
        EXPECT_EQ(engineOf(manager).inputDevice().mChannels, unsigned(c.tones.size()));
        EXPECT_EQ(engineOf(manager).numberOfChannels(), 2);
        EXPECT_EQ(engineOf(manager).channelSources(), c.sources);
        EXPECT_FALSE(manager.isRunning());
        ASSERT_TRUE(manager.start());
        EXPECT_TRUE(manager.isRunning());
        QTest::qWait(500);
        // A loaded machine may break up a second of sound now and then: a second listen decides.
        std::array<double, 2> level{}, chosen{}, other{};
        for (int attempt = 0; attempt < 3; ++attempt) {
            const auto heard = captureOutput(1.0);
            for (const int side : {0, 1}) {
                const auto channel = channelOf(heard, 2, side, 44100);
                const size_t source = size_t(c.sources[size_t(side)]);
                level[size_t(side)] = rmsDecibels(channel);
                chosen[size_t(side)] = medianToneShare(channel, 44100, c.tones[source]);
                other[size_t(side)] = medianToneShare(channel, 44100, c.tones[source == 0 ? 1 : 0]);
            }
            if (std::min(chosen[0], chosen[1]) > 0.8)
                break;
        }
        for (const size_t side : {0u, 1u}) {
            EXPECT_GT(level[side], -20.0) << "side " << side;
            EXPECT_GT(chosen[side], 0.8) << "side " << side;
            EXPECT_LT(other[side], 0.2) << "side " << side;
        }
        // Where the kernel allows it, both streams' threads run in real time; elsewhere the desktop's
        // broker may grant it, and the engine says which it got.
        if (realtimeAllowed()) {
            EXPECT_TRUE(engineOf(manager).runsInRealtime());
        }
        EXPECT_EQ(realtimeThreads(), engineOf(manager).runsInRealtime() ? 2 : 0);

        manager.stop();
        EXPECT_FALSE(manager.isRunning());
        EXPECT_LT(rmsDecibels(channelOf(captureOutput(0.6), 2, 0, 44100)), -80.0);
    }
}

TEST(PlayThrough, absentDevicesAreTheDefaultOnesAndAFormatResetStartsAgain)
{
    VORLAudioPlaythroughManager manager(QString(), QString(), {});
    EXPECT_EQ(engineOf(manager).inputDevice().mName, QStringLiteral("vmic"));
    EXPECT_EQ(engineOf(manager).outputDevice().mName, QStringLiteral("spk"));
    EXPECT_TRUE(engineOf(manager).inputDevice().mFollowsDefault);
    EXPECT_FALSE(manager.isRunning());
    // A new engine after a change of the input's format runs even when the old one did not.
    EXPECT_TRUE(manager.playThroughHost()->reset());
    EXPECT_NE(manager.playThroughHost()->playThrough(), nullptr);
    EXPECT_TRUE(manager.isRunning());
}

TEST(PlayThrough, aDeviceTheServerDoesNotKnowIsRefusedRatherThanReplacedByTheDefault)
{
    CAPlayThrough engine(0, 100000, {});
    EXPECT_FALSE(engine.isValid());
    EXPECT_EQ(engine.fault(), CAPlayThroughFault::OutputDevice);
    EXPECT_FALSE(engine.errorString().isEmpty());
    EXPECT_FALSE(engine.start());
    EXPECT_FALSE(engine.isRunning());
}

TEST(PlayThrough, withoutASoundServerSetUpFailsAndSaysSoWithoutEndingTheProcess)
{
    const QByteArray server = qgetenv("PULSE_SERVER");
    qputenv("PULSE_SERVER", "unix:/nonexistent/spindrel-socket");
    {
        CAPlayThrough engine(0, 0, {});
        EXPECT_FALSE(engine.isValid());
        EXPECT_EQ(engine.fault(), CAPlayThroughFault::SoundServer);
        EXPECT_TRUE(engine.errorString().contains(QStringLiteral("sound server")))
            << engine.errorString().toStdString();
        EXPECT_FALSE(engine.start());
        EXPECT_TRUE(engine.stop()) << "nothing runs, so stopping cannot fail";

        CAPlayThroughHost host(0, 0, {});
        EXPECT_FALSE(host.start());
        EXPECT_EQ(host.fault(), CAPlayThroughFault::SoundServer);
        EXPECT_FALSE(host.reset());
        EXPECT_FALSE(host.isRunning());
    }
    qputenv("PULSE_SERVER", server);
}
