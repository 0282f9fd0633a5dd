#include "audio/PlayThroughRingBuffer.h"

#include "AssertionText.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace spindrel;
using Time = PlayThroughRingBuffer::SampleTime;
using spindrel::test::failedCheckFrom;

namespace {

// Two channels of frames whose values say their sample time: t on the left, -t on the right.
struct Frames
{
    explicit Frames(uint32_t count) : left(count), right(count) {}
    std::vector<float> left, right;
    void* pointers[2] = {left.data(), right.data()};
    void fill(Time time)
    {
        for (size_t i = 0; i < left.size(); ++i) {
            left[i] = float(time + Time(i));
            right[i] = -float(time + Time(i));
        }
    }
};

void store(PlayThroughRingBuffer& ring, uint32_t count, Time time)
{
    Frames frames(count);
    frames.fill(time);
    ASSERT_EQ(ring.store(frames.pointers, count, time), PlayThroughRingBuffer::OK);
}

std::pair<Time, Time> bounds(const PlayThroughRingBuffer& ring)
{
    Time start = -1;
    Time end = -1;
    EXPECT_EQ(ring.getTimeBounds(start, end), PlayThroughRingBuffer::OK);
    return {start, end};
}

} // namespace

TEST(PlayThroughRingBuffer, roundsTheCapacityUpAndWrapsAroundWithoutLosingFrames)
{
    PlayThroughRingBuffer ring;
    ASSERT_TRUE(ring.allocate(2, sizeof(float), 100));
    EXPECT_EQ(ring.capacityFrames(), 128u);
    // 50 frames at a time: the fourth store wraps at the end of the memory.
    for (Time time = 1000; time < 1200; time += 50)
        store(ring, 50, time);
    EXPECT_EQ(bounds(ring), std::make_pair(Time(1200 - 128), Time(1200)));

    Frames out(100);
    ASSERT_EQ(ring.fetch(out.pointers, 100, 1100), PlayThroughRingBuffer::OK);
    for (size_t i = 0; i < 100; ++i) {
        ASSERT_EQ(out.left[i], float(1100 + i)) << i;
        ASSERT_EQ(out.right[i], -float(1100 + i)) << i;
    }
    Frames tooMany(129);
    EXPECT_EQ(ring.store(tooMany.pointers, 129, 1200), PlayThroughRingBuffer::TooMuch);
    EXPECT_EQ(bounds(ring).second, 1200); // refused without touching the range
}

TEST(PlayThroughRingBuffer, unusableSizesAreRefusedAndLeaveItEmpty)
{
    PlayThroughRingBuffer ring;
    ASSERT_TRUE(ring.allocate(2, sizeof(float), 64));
    // No channels, a frame of part of a sample, no room.
    struct Sizes
    {
        int channels;
        uint32_t bytesPerFrame, frames;
    };
    for (const Sizes sizes : {Sizes{0, 4, 64}, Sizes{2, 3, 64}, Sizes{2, 4, 0}})
        EXPECT_NE(failedCheckFrom([&] {
                      EXPECT_FALSE(ring.allocate(sizes.channels, sizes.bytesPerFrame, sizes.frames));
                  }),
                  "(none)");
    EXPECT_EQ(ring.capacityFrames(), 0u) << "the earlier buffer is gone, not half kept";
}

TEST(PlayThroughRingBuffer, fetchesOutsideTheRangeComeOutSilentWithTheirClipCode)
{
    PlayThroughRingBuffer ring;
    ASSERT_TRUE(ring.allocate(2, sizeof(float), 64));
    // A first store far from time 0 keeps a full capacity of silence before it; going back
    // behind the end gives a range of exactly what was stored.
    store(ring, 8, 1000);
    EXPECT_EQ(bounds(ring), std::make_pair(Time(1008 - 64), Time(1008)));
    store(ring, 32, 500);
    ASSERT_EQ(bounds(ring), std::make_pair(Time(500), Time(532)));
    Frames out(16);

    out.fill(1);
    EXPECT_EQ(ring.fetch(out.pointers, 16, 510), PlayThroughRingBuffer::OK);
    EXPECT_EQ(out.left[0], 510.0f);

    out.fill(1);
    EXPECT_EQ(ring.fetch(out.pointers, 16, 524), PlayThroughRingBuffer::EndClipped);
    EXPECT_EQ(out.left[7], 531.0f);
    EXPECT_EQ(out.left[8], 0.0f); // past the end
    EXPECT_EQ(out.right[15], 0.0f);

    out.fill(1);
    EXPECT_EQ(ring.fetch(out.pointers, 16, 492), PlayThroughRingBuffer::StartClipped);
    EXPECT_EQ(out.left[7], 0.0f); // before the start
    EXPECT_EQ(out.left[8], 500.0f);

    EXPECT_EQ(ring.fetch(out.pointers, 16, 532), PlayThroughRingBuffer::EntirelyAfter);
    EXPECT_EQ(ring.fetch(out.pointers, 16, 484), PlayThroughRingBuffer::EntirelyBefore);

    Frames wide(48);
    wide.fill(1);
    EXPECT_EQ(ring.fetch(wide.pointers, 48, 492), PlayThroughRingBuffer::BothClipped);
    EXPECT_EQ(wide.left[7], 0.0f);
    EXPECT_EQ(wide.left[8], 500.0f);
    EXPECT_EQ(wide.left[39], 531.0f);
    EXPECT_EQ(wide.left[40], 0.0f);
}

TEST(PlayThroughRingBuffer, aJumpBackStartsAfreshAndAGapIsSilence)
{
    PlayThroughRingBuffer ring;
    ASSERT_TRUE(ring.allocate(2, sizeof(float), 64));
    store(ring, 32, 1000);
    store(ring, 16, 900); // before the end: what came before is forgotten
    EXPECT_EQ(bounds(ring), std::make_pair(Time(900), Time(916)));
    Frames out(16);
    EXPECT_EQ(ring.fetch(out.pointers, 16, 1000), PlayThroughRingBuffer::EntirelyAfter);

    store(ring, 8, 924); // eight frames missing after 916
    EXPECT_EQ(bounds(ring), std::make_pair(Time(900), Time(932)));
    out.fill(7);
    EXPECT_EQ(ring.fetch(out.pointers, 16, 912), PlayThroughRingBuffer::OK);
    EXPECT_EQ(out.left[3], 915.0f);
    for (size_t i = 4; i < 12; ++i)
        EXPECT_EQ(out.left[i], 0.0f) << i;
    EXPECT_EQ(out.left[12], 924.0f);
}

TEST(PlayThroughRingBuffer, aWriterAndAReaderNeverSeeTornOrStaleFrames)
{
    PlayThroughRingBuffer ring;
    ASSERT_TRUE(ring.allocate(2, sizeof(float), 512));
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        Frames frames(37);
        for (Time time = 0; !stop.load(std::memory_order_relaxed); time += 37) {
            frames.fill(time % 200000);
            ring.store(frames.pointers, 37, time % 200000); // now and then a jump back
        }
    });
    size_t fetched = 0;
    size_t wrong = 0;
    Frames out(64);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (fetched < 20000 && std::chrono::steady_clock::now() < deadline) {
        Time start = 0;
        Time end = 0;
        if (ring.getTimeBounds(start, end) != PlayThroughRingBuffer::OK || end - start < 200)
            continue;
        // Just behind the writer, as the output side reads.
        const Time time = end - 100;
        if (ring.fetch(out.pointers, 64, time) != PlayThroughRingBuffer::OK)
            continue;
        // Frames the writer overwrote during the copy may be torn; all others must be exact.
        if (ring.getTimeBounds(start, end) != PlayThroughRingBuffer::OK || start > time || end < time + 64)
            continue;
        ++fetched;
        for (size_t i = 0; i < 64; ++i)
            wrong += out.left[i] != float(time + Time(i)) || out.right[i] != -float(time + Time(i));
    }
    stop.store(true);
    writer.join();
    EXPECT_GT(fetched, 1000u);
    EXPECT_EQ(wrong, 0u);
}
