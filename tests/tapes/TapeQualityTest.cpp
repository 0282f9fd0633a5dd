#include "tapes/TapeQuality.h"

#include "foundation/Assertion.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(TapeQualityTest, IndicesNameThePresetsAndOthersAreAnAssertion)
{
    EXPECT_EQ(TapeQuality::qualityNames(),
              QStringList({QStringLiteral("HQ"), QStringLiteral("MQ"), QStringLiteral("LQ")}));
    EXPECT_EQ(TapeQuality::qualityForIndex(0), QStringLiteral("HQ"));
    EXPECT_EQ(TapeQuality::qualityForIndex(1), QStringLiteral("MQ"));
    EXPECT_EQ(TapeQuality::qualityForIndex(2), QStringLiteral("LQ"));
    for (const int32_t index : {3, -1, INT32_MIN}) {
        SCOPED_TRACE(index);
        try {
            TapeQuality::qualityForIndex(index);
            ADD_FAILURE() << "no assertion";
        } catch (const InternalInconsistency& failure) {
            EXPECT_EQ(failure.description(), "Asking for qualty outside range");
        }
    }
}

TEST(TapeQualityTest, RatesOfThePresets)
{
    EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("HQ")), 0u);
    EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("HQ"), true), 44100u);
    for (const bool locked : {false, true}) {
        EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("MQ"), locked), 44100u);
        EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("LQ"), locked), 22050u);
        EXPECT_EQ(TapeQuality::sampleRateForQuality(QStringLiteral("XQ"), locked), 0u);
    }
    EXPECT_EQ(TapeQuality::bitrateForQuality(QStringLiteral("HQ")), 0u);
    EXPECT_EQ(TapeQuality::bitrateForQuality(QStringLiteral("MQ")), 128000u);
    EXPECT_EQ(TapeQuality::bitrateForQuality(QStringLiteral("LQ")), 48000u);
    EXPECT_EQ(TapeQuality::bitrateForQuality(QStringLiteral("lq")), 0u);

    const auto mq = TapeQuality::presetForQuality(QStringLiteral("MQ"));
    ASSERT_TRUE(mq);
    EXPECT_EQ(mq->lowerBitrate, 112000u);
    EXPECT_EQ(mq->upperBitrate, 400000u);
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
