#include "audio/VarispeedSource.h"

#include "AudioTestSupport.h"
#include "audio/AudioFileReader.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QTemporaryDir>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

using namespace spindrel;
using namespace spindrel::test;

namespace {

constexpr double kRate = 44100.0;

class VarispeedSourceTest : public ::testing::Test
{
protected:
    // One second at 400 Hz, then one second at 700 Hz: which half plays, and in which order,
    // shows position and direction; the pitch shows the speed.
    void SetUp() override
    {
        mPath = mDir.filePath(QStringLiteral("two-tones.m4a"));
        VORLExtendedAudioFile file(
            mPath, RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), false), 0, kRate);
        const auto low = sineFrames({400.0}, kRate, size_t(kRate));
        const auto high = sineFrames({700.0}, kRate, size_t(kRate), 0.5, size_t(kRate));
        file.writeFrames(low.data(), low.size());
        file.writeFrames(high.data(), high.size());
        file.closeFile();
        mSource = std::make_unique<VarispeedSource>(std::make_unique<AudioFileReader>(mPath));
    }

    // Renders like an output device that never lets the decoder fall behind.
    std::vector<float> render(size_t frames)
    {
        std::vector<float> out;
        std::vector<float> block(512);
        while (out.size() < frames && !mSource->reachedEnd()) {
            const size_t need = size_t(512 * std::abs(mSource->speed())) + 1024;
            for (int wait = 0; wait < 2000 && mSource->bufferedFrames() < need && !mSource->decodedToEnd();
                 ++wait)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            mSource->render(block.data(), block.size());
            out.insert(out.end(), block.begin(), block.end());
        }
        return out;
    }

    static std::vector<float> slice(const std::vector<float>& samples, double fromSeconds, double toSeconds)
    {
        const size_t from = std::min(samples.size(), size_t(fromSeconds * kRate));
        const size_t to = std::min(samples.size(), size_t(toSeconds * kRate));
        return std::vector<float>(samples.begin() + long(from), samples.begin() + long(to));
    }

    QTemporaryDir mDir;
    QString mPath;
    std::unique_ptr<VarispeedSource> mSource;
};

} // namespace

TEST_F(VarispeedSourceTest, normalSpeedPlaysTheFileAsWritten)
{
    EXPECT_EQ(mSource->totalFrames(), 88200);
    const auto out = render(size_t(0.5 * kRate));
    EXPECT_GT(toneShare(slice(out, 0.05, 0.5), kRate, 400.0), 0.98);
    EXPECT_NEAR(rmsDecibels(slice(out, 0.05, 0.5)), 20.0 * std::log10(0.5 / std::sqrt(2.0)), 0.3);
    EXPECT_NEAR(double(mSource->position()), 0.5 * kRate, 600.0);
}

TEST_F(VarispeedSourceTest, plusAndMinusTwoDoubleThePitchHalveTheTimeAndSetTheDirection)
{
    for (const double speed : {2.0, -2.0}) {
        mSource->setPosition(speed > 0 ? 0 : mSource->totalFrames());
        mSource->setSpeed(speed);
        const auto out = render(size_t(3 * kRate));
        EXPECT_TRUE(mSource->reachedEnd());
        EXPECT_EQ(mSource->position(), speed > 0 ? mSource->totalFrames() : 0);
        EXPECT_NEAR(double(out.size()), 1.0 * kRate, 0.02 * kRate);
        EXPECT_GT(toneShare(slice(out, 0.05, 0.45), kRate, speed > 0 ? 800.0 : 1400.0), 0.95) << speed;
        EXPECT_GT(toneShare(slice(out, 0.55, 0.95), kRate, speed > 0 ? 1400.0 : 800.0), 0.95) << speed;
    }
}

TEST_F(VarispeedSourceTest, turningAroundContinuesFromTheSamePlace)
{
    mSource->setPosition(int64_t(1.2 * kRate));
    render(size_t(0.2 * kRate));
    const int64_t turnedAt = mSource->position();
    EXPECT_NEAR(double(turnedAt), 1.4 * kRate, 600.0);
    mSource->setSpeed(-1.0);
    EXPECT_EQ(mSource->position(), turnedAt);
    const auto backward = render(size_t(0.5 * kRate));
    EXPECT_NEAR(double(mSource->position()), 0.9 * kRate, 600.0);
    // 1.4 s back to 1.0 s is the high tone, then below 1.0 s the low one.
    EXPECT_GT(toneShare(slice(backward, 0.05, 0.35), kRate, 700.0), 0.95);
    EXPECT_GT(toneShare(slice(backward, 0.42, 0.5), kRate, 400.0), 0.95);
}

TEST_F(VarispeedSourceTest, windingAtEightTimesRunsOffEitherEndWithoutHarm)
{
    mSource->setSpeed(8.0);
    mSource->setPosition(mSource->totalFrames() - 2000);
    render(size_t(kRate));
    EXPECT_TRUE(mSource->reachedEnd());
    std::vector<float> block(256, 1.0f);
    mSource->render(block.data(), block.size());
    EXPECT_EQ(rms(block), 0.0) << "past the end is silence";

    mSource->setSpeed(-8.0); // turns around at the end
    EXPECT_FALSE(mSource->reachedEnd());
    const auto rewound = render(size_t(kRate));
    EXPECT_TRUE(mSource->reachedEnd());
    EXPECT_EQ(mSource->position(), 0);
    EXPECT_NEAR(double(rewound.size()), 88200.0 / 8.0, 0.01 * kRate);
    EXPECT_GT(rms(rewound), 0.1) << "winding is not silent by itself";

    mSource->setPosition(0); // rewinding at the start ends at once
    render(size_t(kRate));
    EXPECT_TRUE(mSource->reachedEnd());
    EXPECT_EQ(mSource->position(), 0);
}

TEST_F(VarispeedSourceTest, speedZeroHoldsThePositionInSilence)
{
    mSource->setPosition(12345);
    mSource->setSpeed(0.0);
    std::vector<float> block(4096, 1.0f);
    mSource->render(block.data(), block.size());
    EXPECT_EQ(rms(block), 0.0);
    EXPECT_EQ(mSource->position(), 12345);
    mSource->setPosition(-50);
    EXPECT_EQ(mSource->position(), 0);
    mSource->setPosition(10 * 88200);
    EXPECT_EQ(mSource->position(), mSource->totalFrames());
}
