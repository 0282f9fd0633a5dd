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

TEST(PlayThroughTimeline, outputBeforeAnyInputAndTheFirstOutputCycleAreSilent)
{
    PlayThroughTimeline timeline;
    ASSERT_TRUE(timeline.prepare(1, 256, 1000.0));
    Block out(128, 9.0f);
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 50000.0));
    EXPECT_EQ(out.samples, std::vector<float>(128, 0.0f));
    EXPECT_LT(timeline.firstOutputTime(), 0.0); // nothing measured yet

    Block in(256);
    in.count(20000.0);
    timeline.storeInput(in.list(), 256, 20000.0);
    EXPECT_EQ(timeline.firstInputTime(), 20000.0);

    out.samples.assign(128, 9.0f);
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 50000.0));
    EXPECT_EQ(out.samples, std::vector<float>(128, 0.0f));
    // The offset is the devices' latency less the skew of the first cycles.
    EXPECT_EQ(timeline.firstOutputTime(), 50000.0);
    EXPECT_EQ(timeline.inToOutSampleOffset(), 1000.0 - (20000.0 - 50000.0));
}

TEST(PlayThroughTimeline, framesComeOutLaterByTheOffset)
{
    PlayThroughTimeline timeline;
    ASSERT_TRUE(timeline.prepare(1, 256, 300.0));
    Block in(256);
    for (double time = 10000.0; time < 11024.0; time += 256.0) {
        in.count(time);
        timeline.storeInput(in.list(), 256, time);
    }
    Block out(128);
    timeline.fetchOutput(out.list(), 128, 10000.0); // first cycle: skew 0, offset 300
    // Output time 10600 reads input time 10300.
    ASSERT_TRUE(timeline.fetchOutput(out.list(), 128, 10600.0));
    EXPECT_EQ(out.samples.front(), 10300.0f);
    EXPECT_EQ(out.samples.back(), 10427.0f);
}

TEST(PlayThroughTimeline, aFetchOutsideTheBufferedRangeIsSilentAndMovesTheOffset)
{
    PlayThroughTimeline timeline;
    ASSERT_TRUE(timeline.prepare(1, 16, 300.0)); // room for 512 frames
    Block in(256);
    in.count(10000.0);
    timeline.storeInput(in.list(), 256, 10000.0); // [9744, 10256), silence up to 10000
    Block out(128);
    timeline.fetchOutput(out.list(), 128, 10000.0);

    // Too early: reading [9600, 9728) lies before the start; the offset grows by the minimum step.
    out.samples.assign(128, 9.0f);
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 9900.0));
    EXPECT_EQ(out.samples, std::vector<float>(128, 0.0f));
    EXPECT_EQ(timeline.inToOutSampleOffset(), 428.0);

    // Far too late: reads [11572, 11700) against an end of 10256, so the offset takes the
    // whole overshoot of 1444 frames in one step.
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 12000.0));
    EXPECT_EQ(timeline.inToOutSampleOffset(), 428.0 + 1444.0);
    // Just past the end: at least the minimum step.
    EXPECT_FALSE(timeline.fetchOutput(out.list(), 128, 12028.0)); // reads [10156, 10284)
    EXPECT_EQ(timeline.inToOutSampleOffset(), 1872.0 + 128.0);

    // After a reset the skew is measured again.
    timeline.reset();
    EXPECT_FALSE(timeline.hasInput());
    in.count(50000.0);
    timeline.storeInput(in.list(), 256, 50000.0);
    timeline.fetchOutput(out.list(), 128, 49000.0);
    EXPECT_EQ(timeline.inToOutSampleOffset(), 300.0 - 1000.0);
}
