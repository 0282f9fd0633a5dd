#include "tapes/TapeQuality.h"

#include "AssertionText.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(TapeQualityTest, PresetsByIndexAndRatesLockedOrNot)
{
    EXPECT_EQ(TapeQuality::qualityForIndex(2), QStringLiteral("LQ"));
    for (const int32_t index : {3, -1, INT32_MIN})
        EXPECT_EQ(test::failedCheckFrom([&] { EXPECT_TRUE(TapeQuality::qualityForIndex(index).isNull()); }),
                  "Asking for qualty outside range")
            << index;
    // Lossless follows the device unless the rate is locked.
    EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("HQ")), 0u);
    EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("HQ"), true), 44100u);
    for (const bool locked : {false, true}) {
        EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("LQ"), locked), 22050u);
        EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("XQ"), locked), 0u);
    }
    EXPECT_EQ(TapeQuality::bitrateForQuality(QStringLiteral("lq")), 0u);
}

TEST(TapeQualityTest, MeasuredBitRatesClassifyByWindow)
{
    const auto expect = [](const char* quality, bool stereo, std::initializer_list<uint64_t> bitrates) {
        for (const uint64_t bitrate : bitrates) {
            EXPECT_EQ(TapeQuality::qualityForBitrate(bitrate, 44100, stereo), QLatin1String(quality))
                << bitrate << (stereo ? " stereo" : " mono");
        }
    };
    expect("MQ", true, {112000, 127962, 128000, 400000});
    expect("LQ", true, {30000, 47845, 48000, 80000});
    expect("HQ", true, {0, 29999, 80001, 111999, 400001, uint64_t(1) << 40});
    // Mono halves both bounds.
    expect("MQ", false, {56000, 64000, 200000});
    expect("LQ", false, {15000, 40000});
    expect("HQ", false, {0, 14999, 40001, 48000, 55999, 200001});
    // The sample rate takes no part.
    EXPECT_EQ(TapeQuality::qualityForBitrate(48000, 0, true), QStringLiteral("LQ"));
    EXPECT_EQ(TapeQuality::qualityForBitrate(48000, 96000, true), QStringLiteral("LQ"));
}
