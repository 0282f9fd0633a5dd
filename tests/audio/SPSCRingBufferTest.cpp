#include "audio/SPSCRingBuffer.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace spindrel;

TEST(SPSCRingBuffer, wrapsAroundAndNeverOverfills)
{
    SPSCRingBuffer<int> ring(6);
    EXPECT_EQ(ring.capacity(), 8u);
    const int first[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(ring.write(first, 5), 5u);
    int out[8] = {};
    EXPECT_EQ(ring.read(out, 3), 3u);
    EXPECT_EQ(out[2], 3);
    // Six more only fit up to the capacity; the rest is refused, not overwritten.
    const int second[] = {6, 7, 8, 9, 10, 11, 12};
    EXPECT_EQ(ring.write(second, 7), 6u);
    EXPECT_EQ(ring.writeAvailable(), 0u);
    EXPECT_EQ(ring.readAvailable(), 8u);
    const auto span = ring.readSpan(8);
    EXPECT_GT(span.secondCount, 0u); // the data wraps
    EXPECT_EQ(ring.read(out, 8), 8u);
    EXPECT_EQ(std::vector<int>(out, out + 8), (std::vector<int>{4, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(ring.read(out, 1), 0u);
}

TEST(SPSCRingBuffer, twoThreadsPassEveryValueInOrder)
{
    SPSCRingBuffer<uint32_t> ring(256);
    constexpr uint32_t count = 300000;
    std::thread producer([&] {
        uint32_t next = 0;
        uint32_t chunk[37];
        while (next < count) {
            const uint32_t n = std::min<uint32_t>(37, count - next);
            for (uint32_t i = 0; i < n; ++i)
                chunk[i] = next + i;
            uint32_t done = 0;
            while (done < n) {
                done += uint32_t(ring.write(chunk + done, n - done));
                if (done < n)
                    std::this_thread::yield();
            }
            next += n;
        }
    });
    uint32_t expected = 0;
    bool inOrder = true;
    uint32_t buffer[53];
    while (expected < count) {
        const size_t got = ring.read(buffer, 53);
        for (size_t i = 0; i < got; ++i)
            inOrder = inOrder && buffer[i] == expected++;
        if (got == 0)
            std::this_thread::yield();
    }
    producer.join();
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(ring.readAvailable(), 0u);
}
