#include "audio/PlayThroughTimeline.h"

#include <gtest/gtest.h>
#include <vector>

using namespace spindrel;

namespace {

// One channel; sample values say the input sample time they were stored at.
struct Block
{
    explicit Block(uint32_t frames, float value = 0.0f) : samples(frames, value) {}
    std::vector<float> samples;
    float* pointer = samples.data();
    float* const* list() { return &pointer; }
    void count(double from)
    {
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = float(from + double(i));
    }
};

} // namespace

TEST(PlayThroughTimeline, outputBeforeAnyInputIsSilentAndFramesComeOutLaterByTheLatency)
{
    PlayThroughTimeline timeline;
    ASSERT_TRUE(timeline.prepare(1, 256, 300.0));
    Block out(128, 9.0f);
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 10600.0));
    EXPECT_EQ(out.samples, std::vector<float>(128, 0.0f));

    Block in(256);
    for (double time = 10000.0; time < 11024.0; time += 256.0) {
        in.count(time);
        timeline.storeInput(in.list(), 256, time);
    }
    // Both sides keep one clock, so the very first cycle already reads 300 frames back.
    ASSERT_TRUE(timeline.fetchOutput(out.list(), 128, 10600.0));
    EXPECT_EQ(out.samples.front(), 10300.0f);
    EXPECT_EQ(out.samples.back(), 10427.0f);
    EXPECT_EQ(timeline.missedFetches(), 0);
}

TEST(PlayThroughTimeline, lateInputGrowsTheOffsetAndAnOffsetPastTheBufferStartsAgain)
{
    PlayThroughTimeline timeline;
    ASSERT_TRUE(timeline.prepare(1, 16, 300.0)); // room for 512 frames
    Block in(256);
    in.count(10000.0);
    timeline.storeInput(in.list(), 256, 10000.0); // [9744, 10256), silence up to 10000
    Block out(128, 9.0f);

    // The input stalled: reading [11700, 11828) against an end of 10256, so the offset takes the
    // whole overshoot of 1572 frames in one step.
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 12000.0));
    EXPECT_EQ(out.samples, std::vector<float>(128, 0.0f));
    EXPECT_EQ(timeline.inToOutSampleOffset(), 300.0 + 1572.0);
    // Just past the end: at least the minimum step.
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 12028.0)); // reads [10156, 10284)
    EXPECT_EQ(timeline.inToOutSampleOffset(), 1872.0 + 128.0);
    // An output reading slightly faster than it plays takes the growth back, and never more.
    timeline.shortenOffset(100.0);
    EXPECT_EQ(timeline.excessFrames(), 1600.0);

    // The input runs on, and the buffer no longer reaches 2000 frames back: growing the offset
    // again would miss every cycle for good, so it starts again from the latency.
    for (double time = 10256.0; time < 12256.0; time += 256.0) {
        in.count(time);
        timeline.storeInput(in.list(), 256, time);
    }
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 12156.0)); // reads [10256, 10384)
    EXPECT_EQ(timeline.inToOutSampleOffset(), 300.0);
    timeline.shortenOffset(50.0);
    EXPECT_EQ(timeline.excessFrames(), 0.0);
    ASSERT_TRUE(timeline.fetchOutput(out.list(), 128, 12284.0));
    EXPECT_EQ(out.samples.front(), 11984.0f);
    EXPECT_EQ(timeline.missedFetches(), 3);

    // A reset forgets the input, the growth and the misses.
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 13000.0));
    timeline.reset();
    EXPECT_FALSE(timeline.hasInput());
    EXPECT_EQ(timeline.inToOutSampleOffset(), 300.0);
    EXPECT_EQ(timeline.missedFetches(), 0);
}
