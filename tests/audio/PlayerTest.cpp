#include "AudioTestSupport.h"
#include "PulseTestSupport.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"
#include "audio/VORLExtendedAudioFilePlayer.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <memory>

using namespace spindrel;
using namespace spindrel::test;

namespace {

constexpr double kRate = 44100.0;

class EndDelegate : public VORLExtendedAudioFilePlayerDelegate
{
public:
    void audioFilePlayerDidReachEndOfFile(VORLExtendedAudioFilePlayer*) override { ++ends; }
    void audioFilePlayerDidFail(VORLExtendedAudioFilePlayer*) override { ++failures; }
    int ends = 0;
    int failures = 0;
};

class PlayerTest : public ::testing::Test
{
protected:
    // Seconds of `low` Hz followed by as many of `high` Hz, stereo.
    QString writeTwoTones(const QString& name, double seconds, double low, double high)
    {
        const QString path = mDir.filePath(name);
        VORLExtendedAudioFile file(
            path, RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), true), 0, kRate);
        const size_t frames = size_t(seconds * kRate);
        const auto first = sineFrames({low, low}, kRate, frames);
        const auto second = sineFrames({high, high}, kRate, frames, 0.5, frames);
        file.writeFrames(first.data(), frames);
        file.writeFrames(second.data(), frames);
        file.closeFile();
        return path;
    }

    // Which of two tones dominates each 50 ms of the captured left channel, skipping silence:
    // 1 for `a`, 2 for `b`, 0 for neither.
    static std::vector<int> toneSequence(const std::vector<float>& stereo, double a, double b)
    {
        std::vector<int> sequence;
        const size_t window = size_t(kRate / 20);
        std::vector<float> left;
        for (size_t i = 0; i < stereo.size(); i += 2)
            left.push_back(stereo[i]);
        for (size_t at = 0; at + window <= left.size(); at += window) {
            const std::vector<float> part(left.begin() + long(at), left.begin() + long(at + window));
            if (rmsDecibels(part) < -40.0)
                continue;
            const double shareA = toneShare(part, kRate, a);
            const double shareB = toneShare(part, kRate, b);
            sequence.push_back(shareA > 0.8 ? 1 : shareB > 0.8 ? 2 : 0);
        }
        return sequence;
    }

    // Whether every window of `first` comes before every window of `second`.
    static bool allBefore(const std::vector<int>& sequence, int first, int second)
    {
        const auto lastFirst = std::find(sequence.rbegin(), sequence.rend(), first);
        const auto firstSecond = std::find(sequence.begin(), sequence.end(), second);
        return lastFirst != sequence.rend() && firstSecond != sequence.end() &&
               (sequence.rend() - lastFirst - 1) < (firstSecond - sequence.begin());
    }

    // Plays to the end, capturing what the output "spk" carries.
    std::vector<float> playAndCapture(VORLExtendedAudioFilePlayer& player, int timeoutMs = 6000)
    {
        MonitorCapture capture(QStringLiteral("spk.monitor"));
        EXPECT_TRUE(capture.isRunning());
        QSignalSpy ended(&player, &VORLExtendedAudioFilePlayer::audioFilePlayerDidReachEndOfFile);
        EXPECT_TRUE(player.startFilePlaying()) << player.errorString().toStdString();
        EXPECT_TRUE(ended.wait(timeoutMs));
        QTest::qWait(150);
        return capture.stop();
    }

    QTemporaryDir mDir;
    const VORLAudioDevice mOutput{QStringLiteral("spk")};
};

} // namespace

TEST_F(PlayerTest, cueAndReviewAtPlusAndMinusTwoDoubleThePitchInTheirDirection)
{
    const QString path = writeTwoTones(QStringLiteral("cue.m4a"), 0.6, 300.0, 500.0);
    for (const double speed : {2.0, -2.0}) {
        VORLExtendedAudioFilePlayer player(path, mOutput);
        EXPECT_NEAR(player.maxTime(), 1200.0, 0.1);
        if (speed < 0)
            player.setCurrentTime(player.maxTime());
        player.setPlaybackSpeed(speed);
        const auto sequence = toneSequence(playAndCapture(player), 600.0, 1000.0);
        EXPECT_GE(std::ranges::count(sequence, 1), 3) << speed;
        EXPECT_GE(std::ranges::count(sequence, 2), 3) << speed;
        EXPECT_TRUE(speed > 0 ? allBefore(sequence, 1, 2) : allBefore(sequence, 2, 1))
            << speed << ": the half the tape meets first plays first";
        EXPECT_FALSE(player.isFilePlaying());
        EXPECT_EQ(player.currentFrame(), speed > 0 ? qint64(1.2 * kRate) : 0);
    }
}

TEST_F(PlayerTest, windingIsSilentOnceMutedAndHeardAgainWhenTheVolumeIsSet)
{
    const QString path = writeTwoTones(QStringLiteral("wind.m4a"), 4.0, 300.0, 300.0);
    const auto loudMs = [](const std::vector<float>& captured) {
        const size_t window = size_t(kRate / 50) * 2;
        int loudWindows = 0;
        for (size_t at = 0; at + window <= captured.size(); at += window) {
            const std::vector<float> part(captured.begin() + long(at), captured.begin() + long(at + window));
            loudWindows += rmsDecibels(part) > -40.0 ? 1 : 0;
        }
        return loudWindows * 20.0;
    };
    for (const double speed : {8.0, -8.0}) {
        // Muted for a while, then the volume set again. Each stretch has a capture of its own, so
        // a slow machine shifts no sound from one into the other. Only what the server already
        // held when the mute came may still be heard (the muted stretch is 300 ms).
        VORLExtendedAudioFilePlayer player(path, mOutput);
        if (speed < 0.0)
            player.setCurrentTime(player.maxTime());
        player.setPlaybackSpeed(speed);
        player.setPlaybackLevel(0.0); // mute, as fast-forward and rewind do
        auto muted = std::make_unique<MonitorCapture>(QStringLiteral("spk.monitor"));
        ASSERT_TRUE(player.startFilePlaying());
        QTRY_VERIFY_WITH_TIMEOUT(
            std::abs(player.currentTime() - (speed > 0 ? 0.0 : player.maxTime())) > 2400.0, 10000);
        const double mutedMs = loudMs(muted->stop());
        muted.reset();
        MonitorCapture heard(QStringLiteral("spk.monitor"));
        player.setPlaybackVolume(-6.0); // setting the volume lifts the mute
        QTest::qWait(400);
        player.stopFilePlaying();
        QTest::qWait(300);
        EXPECT_LE(mutedMs, 150.0) << "speed " << speed << ": sound while muted";
        EXPECT_GT(loudMs(heard.stop()), 100.0) << "speed " << speed << ": winding keeps producing sound";
    }
}

TEST_F(PlayerTest, runningOffEitherEndAtAnySpeedNotifiesWithoutThrowing)
{
    const QString path = writeTwoTones(QStringLiteral("short.m4a"), 0.25, 300.0, 500.0);
    VORLExtendedAudioFilePlayer player(path, mOutput);
    EndDelegate deck;
    player.setDelegate(&deck);
    QSignalSpy ended(&player, &VORLExtendedAudioFilePlayer::audioFilePlayerDidReachEndOfFile);

    player.setPlaybackSpeed(-8.0); // rewinding at the very start
    ASSERT_TRUE(player.startFilePlaying());
    ASSERT_TRUE(ended.wait(15000));
    EXPECT_EQ(player.currentFrame(), 0);

    player.setCurrentTime(player.maxTime() - 10.0);
    player.setPlaybackSpeed(8.0); // fast-forward near the end
    ASSERT_TRUE(player.startFilePlaying());
    ASSERT_TRUE(ended.wait(15000));
    EXPECT_EQ(player.currentFrame(), 22050);
    EXPECT_EQ(deck.ends, 2);
    EXPECT_FALSE(player.isFilePlaying());
}

TEST_F(PlayerTest, stoppingKeepsThePosition)
{
    // Long enough that a slow machine cannot run off the end while the test waits.
    const QString path = writeTwoTones(QStringLiteral("stop.m4a"), 5.0, 300.0, 500.0);
    VORLExtendedAudioFilePlayer player(path, mOutput);
    player.setCurrentTime(500.0);
    ASSERT_TRUE(player.startFilePlaying());
    QTRY_VERIFY_WITH_TIMEOUT(player.currentFrame() > qint64(0.6 * kRate), 10000);
    player.stopFilePlaying();
    const qint64 frame = player.currentFrame();
    EXPECT_LT(frame, player.totalFrames());
    QTest::qWait(100);
    EXPECT_EQ(player.currentFrame(), frame) << "a stopped player does not move";
}

TEST_F(PlayerTest, anUnpluggedOutputStopsPlaybackAndTellsWhichDevice)
{
    const QString module = pactl({QStringLiteral("load-module"), QStringLiteral("module-null-sink"),
                                  QStringLiteral("sink_name=unplugged"),
                                  QStringLiteral("sink_properties=device.description=Headphones")});
    ASSERT_FALSE(module.isEmpty());
    const QString path = writeTwoTones(QStringLiteral("unplug.m4a"), 5.0, 300.0, 500.0);
    VORLExtendedAudioFilePlayer player(path, VORLAudioDevice(QStringLiteral("unplugged")));
    EndDelegate deck;
    player.setDelegate(&deck);
    QSignalSpy failed(&player, &VORLExtendedAudioFilePlayer::audioFilePlayerDidFail);
    ASSERT_TRUE(player.startFilePlaying());
    QTRY_VERIFY_WITH_TIMEOUT(player.currentFrame() > 0, 10000);

    pactl({QStringLiteral("unload-module"), module});
    QTRY_COMPARE_WITH_TIMEOUT(failed.size(), 1, 10000);
    EXPECT_EQ(deck.failures, 1);
    EXPECT_EQ(deck.ends, 0);
    EXPECT_FALSE(player.isFilePlaying());
    EXPECT_TRUE(player.errorString().contains(QStringLiteral("Headphones")))
        << player.errorString().toStdString();
}
