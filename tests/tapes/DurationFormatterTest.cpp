#include "tapes/DurationFormatter.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(DurationFormatterTest, EveryStyleWritesItsOwnForm)
{
    const struct
    {
        int32_t seconds;
        int style;
        const char* text;
    } cases[] = {{0, 0, "0s"},
                 {60, 0, "1m0s"},
                 {3600, 0, "1h0s"},
                 {3725, 0, "1h2m5s"},
                 {-5, 0, "-5s"},
                 {-3725, 0, "-3725s"},
                 {3725, 2, "62\u20325\u2033"},
                 {7260, 2, "121\u20320\u2033"},
                 {65, 1, "1 minute seconds"},
                 {60, 1, "1 minuteless than a second"},
                 {0, 1, "less than a second"},
                 {1, 1, " second"},
                 {3600, 1, "1 hourless than a second"},
                 {7322, 1, "2 hours2 minutes seconds"},
                 {3661, 1, "1 hour1 minute second"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.seconds) + " style " + std::to_string(c.style));
        EXPECT_EQ(DurationFormatter::durationToString(c.seconds, c.style), QString::fromUtf8(c.text));
    }
}
