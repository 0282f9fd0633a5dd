#include "audio/RecordingPresets.h"
#include "audio/VORLAudioStreamBasicDescription.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(StreamDescription, completionFillsThePacketLayoutOfKnownFormatsOnly)
{
    AudioStreamBasicDescription record =
        VORLAudioStreamBasicDescription::aacStreamDescription().audioStreamBasicDescription();
    record.mSampleRate = 22050.0;
    record.mChannelsPerFrame = 1;
    ASSERT_TRUE(VORLAudioStreamBasicDescription::completeStreamDescription(record));
    EXPECT_EQ(record.mFramesPerPacket, 1024u);
    EXPECT_EQ(record.mChannelsPerFrame, 1u);

    record = VORLAudioStreamBasicDescription::alacStreamDescription().audioStreamBasicDescription();
    ASSERT_TRUE(VORLAudioStreamBasicDescription::completeStreamDescription(record));
    EXPECT_EQ(record.mFramesPerPacket, 4096u);
    EXPECT_EQ(VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(record)
                  .losslessSourceBits(),
              24);

    AudioStreamBasicDescription unknown;
    unknown.mFormatID = fourCC("abcd");
    EXPECT_FALSE(VORLAudioStreamBasicDescription::completeStreamDescription(unknown));
}

TEST(RecordingPresets, unknownQualitiesAndTheUnlockedLosslessRate)
{
    EXPECT_EQ(RecordingPresets::sampleRateForQuality(QStringLiteral("unknown")), 0u);
    EXPECT_TRUE(RecordingPresets::streamDescriptionForQuality(QStringLiteral("unknown"), true).isAAC());
    const auto open = RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), false, false);
    EXPECT_EQ(open.sampleRate(), 0.0); // taken from the device when the file is made
    EXPECT_EQ(RecordingPresets::sampleRateForQuality(QStringLiteral("HQ"), false), 0u);
    EXPECT_EQ(RecordingPresets::sampleRateForQuality(QStringLiteral("MQ"), false), 44100u);
}
