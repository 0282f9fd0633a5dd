#include "audio/RecordingPipeline.h"

#include "AudioTestSupport.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QTemporaryDir>
#include <atomic>
#include <gtest/gtest.h>
#include <numbers>

using namespace spindrel;
using namespace spindrel::test;

namespace {

constexpr double kRate = 44100.0;

std::shared_ptr<VORLExtendedAudioFile> losslessFile(const QString& path, bool stereo)
{
    return std::make_shared<VORLExtendedAudioFile>(
        path, RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), stereo), 0, kRate);
}

// Feeds like a capture callback: pieces of 20 ms, waiting when the ring is full.
void feed(RecordingPipeline& pipeline, const std::vector<float>& frames)
{
    const size_t channels = pipeline.deviceChannels();
    const size_t total = frames.size() / channels;
    for (size_t done = 0; done < total;) {
        const size_t piece = std::min<size_t>(882, total - done);
        while (pipeline.freeFrames() < piece)
            std::this_thread::yield();
        pipeline.captureInterleaved(frames.data() + done * channels, piece);
        done += piece;
    }
}

} // namespace

TEST(RecordingPipeline, recordsTheChosenChannelsOfAFourChannelDevice)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("four.m4a"));
    auto file = losslessFile(path, true);
    RecordingPipeline pipeline(file, {2, 3}, 4);
    std::atomic<int> drained{0};
    pipeline.beginSession([&] { ++drained; });
    feed(pipeline, sineFrames({300.0, 500.0, 700.0, 900.0}, kRate, 22050));
    pipeline.endCapture();
    pipeline.waitUntilDrained();
    EXPECT_EQ(drained.load(), 1);
    EXPECT_EQ(pipeline.capturedFrames(), 22050u);
    EXPECT_EQ(pipeline.droppedFrames(), 0u);
    file->closeFile();

    const DecodedAudio decoded = decodeAudio(path);
    ASSERT_EQ(decoded.channels, 2);
    EXPECT_EQ(decoded.frames(), 22050u);
    EXPECT_GT(toneShare(decoded.channel(0, 1000, 20000), kRate, 700.0), 0.99);
    EXPECT_GT(toneShare(decoded.channel(1, 1000, 20000), kRate, 900.0), 0.99);
}

TEST(RecordingPipeline, sessionsFollowEachOtherWithoutGapOrClick)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("paused.m4a"));
    auto file = losslessFile(path, false);
    RecordingPipeline pipeline(file, {0}, 1);
    const size_t half = size_t(0.5 * kRate);
    // The second take starts at the opposite phase: joined raw, the seam would jump by a full
    // amplitude.
    const auto first = sineFrames({440.0}, kRate, half, 0.5, 0);
    auto second = sineFrames({440.0}, kRate, half, 0.5, 0);
    for (float& s : second)
        s = -s;
    int sessions = 0;
    pipeline.beginSession([&] { ++sessions; });
    feed(pipeline, first);
    pipeline.endCapture();
    pipeline.beginSession([&] { ++sessions; });
    EXPECT_TRUE(pipeline.isCapturing());
    feed(pipeline, second);
    pipeline.endCapture();
    pipeline.waitUntilDrained();
    EXPECT_FALSE(pipeline.isCapturing());
    EXPECT_EQ(sessions, 2);
    file->closeFile();

    const DecodedAudio decoded = decodeAudio(path);
    ASSERT_EQ(decoded.frames(), 2 * half) << "nothing lost, nothing inserted";
    const auto samples = decoded.channel(0);
    const double steepest = 0.5 * 2.0 * std::numbers::pi * 440.0 / kRate; // the tone's own largest step
    double largestStep = 0.0;
    for (size_t i = 1; i < samples.size(); ++i)
        largestStep = std::max(largestStep, double(std::abs(samples[i] - samples[i - 1])));
    EXPECT_LT(largestStep, steepest * 1.5);
    // The fades are short: 20 ms around the seam keeps most of the tone's level.
    const std::vector<float> seam(samples.begin() + long(half - 441), samples.begin() + long(half + 441));
    EXPECT_GT(rms(seam), 0.8 * 0.5 / std::sqrt(2.0));
}

TEST(RecordingPipeline, aFullRingDropsAndCountsRatherThanWaiting)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("overrun.m4a"));
    auto file = losslessFile(path, false);
    RecordingPipeline pipeline(file, {0}, 1);
    // No session yet, so nothing drains the ring.
    const auto tone = sineFrames({440.0}, kRate, size_t(6 * kRate));
    pipeline.captureInterleaved(tone.data(), tone.size());
    EXPECT_EQ(pipeline.capturedFrames(), tone.size());
    const uint64_t dropped = pipeline.droppedFrames();
    EXPECT_GT(dropped, 0u);
    EXPECT_LT(dropped, tone.size());
    pipeline.beginSession({});
    pipeline.endCapture();
    pipeline.waitUntilDrained();
    file->closeFile();
    EXPECT_EQ(decodeAudio(path).frames(), tone.size() - dropped);
}
