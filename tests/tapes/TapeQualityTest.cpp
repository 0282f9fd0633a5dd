#include "tapes/TapeQuality.h"

#include <gtest/gtest.h>

using namespace spindrel;

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
    // Lossy audio is never lossless: outside the windows the nearest target wins.
    EXPECT_EQ(TapeQuality::lossyQualityForBitrate(96000, true), QStringLiteral("MQ"));
    EXPECT_EQ(TapeQuality::lossyQualityForBitrate(80001, true), QStringLiteral("LQ"));
    EXPECT_EQ(TapeQuality::lossyQualityForBitrate(0, true), QStringLiteral("LQ"));
    EXPECT_EQ(TapeQuality::lossyQualityForBitrate(uint64_t(1) << 40, true), QStringLiteral("MQ"));
    EXPECT_EQ(TapeQuality::lossyQualityForBitrate(48000, false), QStringLiteral("LQ"));
    EXPECT_EQ(TapeQuality::lossyQualityForBitrate(64000, false), QStringLiteral("MQ"));
    // The sample rate takes no part.
    EXPECT_EQ(TapeQuality::qualityForBitrate(48000, 0, true), QStringLiteral("LQ"));
    EXPECT_EQ(TapeQuality::qualityForBitrate(48000, 96000, true), QStringLiteral("LQ"));
}
