#include "tapes/DurationFormatter.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(DurationFormatterTest, CompactFormCountsHoursMinutesAndSeconds)
{
    // Only the compact style is shown anywhere: the tape list and the library command.
    const struct
    {
        int32_t seconds;
        const char* text;
    } cases[] = {{0, "0s"}, {60, "1m0s"}, {3600, "1h0s"}, {3725, "1h2m5s"}, {-5, "-5s"}, {-3725, "-3725s"}};
    for (const auto& c : cases)
        EXPECT_EQ(DurationFormatter::durationToString(c.seconds), QString::fromUtf8(c.text)) << c.seconds;
}
