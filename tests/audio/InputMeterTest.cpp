#include "PulseTestSupport.h"
#include "audio/VORLAudioInputMeter.h"

#include <QTest>
#include <cmath>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

TEST(InputMeter, levelsFollowTheChosenChannelsInDecibels)
{
    // Left at half scale (-6 dB), right at a tenth (-20 dB).
    TonePlayer left(QStringLiteral("mic"), {440.0, 0.0}, 0.5);
    TonePlayer right(QStringLiteral("mic"), {0.0, 440.0}, 0.1);
    ASSERT_TRUE(waitForSignal(QStringLiteral("vmic")));

    VORLAudioInputMeter stereo(VORLAudioDevice(QStringLiteral("vmic")), {0, 1});
    EXPECT_EQ(stereo.levels(), std::make_pair(-100.0, -100.0)) << "a meter that is not running shows silence";
    stereo.start();
    VORLAudioInputMeter mono(VORLAudioDevice(QStringLiteral("vmic")), {1});
    mono.start();
    // The first levels arrive when the server delivers; a busy machine may take its time.
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(stereo.levels().second - 20.0 * std::log10(0.1)) < 1.0, 15000);
    QTRY_VERIFY_WITH_TIMEOUT(std::abs(mono.levels().first - 20.0 * std::log10(0.1)) < 1.0, 15000);
    const auto [l, r] = stereo.levels();
    EXPECT_NEAR(l, 20.0 * std::log10(0.5), 1.0);
    EXPECT_NEAR(r, 20.0 * std::log10(0.1), 1.0);
    const auto [m1, m2] = mono.levels();
    EXPECT_NEAR(m1, 20.0 * std::log10(0.1), 1.0);
    EXPECT_EQ(m1, m2) << "one channel is shown on both rows";
    stereo.stop();
    EXPECT_EQ(stereo.levels(), std::make_pair(-100.0, -100.0));

    VORLAudioInputMeter silent(VORLAudioDevice(QStringLiteral("spk.monitor")), {0, 1});
    silent.start();
    QTest::qWait(300);
    EXPECT_EQ(silent.levels(), std::make_pair(-100.0, -100.0)) << "silence reads -100";
}
