#include "audio/RecordingPresets.h"
#include "audio/VORLAudioStreamBasicDescription.h"

#include <gtest/gtest.h>

using namespace spindrel;

TEST(StreamDescription, templatesLeaveTheRateOpenAndCompletionFillsThePacketLayout)
{
    const auto aac = VORLAudioStreamBasicDescription::aacStreamDescription();
    EXPECT_EQ(aac.formatID(), fourCharCode("aac "));
    EXPECT_EQ(aac.channelsPerFrame(), 2u);
    EXPECT_EQ(aac.sampleRate(), 0.0);
    const auto alac = VORLAudioStreamBasicDescription::alacStreamDescription();
    EXPECT_EQ(alac.formatID(), fourCharCode("alac"));
    EXPECT_EQ(alac.formatFlags(), 0u);
    EXPECT_EQ(alac.losslessSourceBits(), 0);

    AudioStreamBasicDescription record = aac.audioStreamBasicDescription();
    record.mSampleRate = 22050.0;
    record.mChannelsPerFrame = 1;
    ASSERT_TRUE(VORLAudioStreamBasicDescription::completeStreamDescription(record));
    EXPECT_EQ(record.mFramesPerPacket, 1024u);
    EXPECT_EQ(record.mChannelsPerFrame, 1u);
    EXPECT_EQ(record.mSampleRate, 22050.0);

    record = alac.audioStreamBasicDescription();
    ASSERT_TRUE(VORLAudioStreamBasicDescription::completeStreamDescription(record));
    EXPECT_EQ(record.mFramesPerPacket, 4096u);
    EXPECT_EQ(VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(record)
                  .losslessSourceBits(),
              24);

    AudioStreamBasicDescription unknown;
    unknown.mFormatID = fourCharCode("abcd");
    EXPECT_FALSE(VORLAudioStreamBasicDescription::completeStreamDescription(unknown));
}

TEST(StreamDescription, wrappingKeepsEveryField)
{
    AudioStreamBasicDescription record{48000.0, kAudioFormatLinearPCM, 9, 8, 1, 8, 2, 32, 0};
    const auto wrapped =
        VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(record);
    EXPECT_EQ(wrapped.audioStreamBasicDescription(), record);
    auto changed = wrapped;
    changed.setFormatFlags(1);
    changed.setChannelsPerFrame(1);
    changed.setSampleRate(44100.0);
    EXPECT_EQ(changed.formatFlags(), 1u);
    EXPECT_EQ(changed.channelsPerFrame(), 1u);
    EXPECT_EQ(changed.sampleRate(), 44100.0);
    EXPECT_FALSE(changed == wrapped);
}

TEST(RecordingPresets, qualitiesGiveTheirCodecRateAndBitrate)
{
    EXPECT_EQ(RecordingPresets::qualities(), (QStringList{"HQ", "MQ", "LQ"}));

    const auto mq = RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true);
    EXPECT_TRUE(mq.isAAC());
    EXPECT_EQ(mq.sampleRate(), 44100.0);
    EXPECT_EQ(mq.channelsPerFrame(), 2u);
    EXPECT_EQ(RecordingPresets::bitrateForQuality(QStringLiteral("MQ")), 128000u);

    const auto lq = RecordingPresets::streamDescriptionForQuality(QStringLiteral("LQ"), false);
    EXPECT_TRUE(lq.isAAC());
    EXPECT_EQ(lq.sampleRate(), 22050.0);
    EXPECT_EQ(lq.channelsPerFrame(), 1u);
    EXPECT_EQ(RecordingPresets::bitrateForQuality(QStringLiteral("LQ")), 48000u);

    EXPECT_EQ(RecordingPresets::bitrateForQuality(QStringLiteral("HQ")), 0u);
    EXPECT_EQ(RecordingPresets::sampleRateForQuality(QStringLiteral("unknown")), 0u);
    EXPECT_TRUE(RecordingPresets::streamDescriptionForQuality(QStringLiteral("unknown"), true).isAAC());
}

TEST(RecordingPresets, losslessFollowsTheSampleRateLock)
{
    const auto locked = RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), true, true);
    EXPECT_TRUE(locked.isAppleLossless());
    EXPECT_EQ(locked.sampleRate(), 44100.0);
    EXPECT_EQ(locked.formatFlags() & kAppleLosslessFormatFlag_16BitSourceData, 1u);
    EXPECT_EQ(locked.losslessSourceBits(), 16);

    const auto open = RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), false, false);
    EXPECT_EQ(open.sampleRate(), 0.0); // taken from the device when the file is made
    EXPECT_EQ(open.channelsPerFrame(), 1u);
    EXPECT_EQ(open.losslessSourceBits(), 24);
    EXPECT_EQ(RecordingPresets::sampleRateForQuality(QStringLiteral("HQ"), false), 0u);
    EXPECT_EQ(RecordingPresets::sampleRateForQuality(QStringLiteral("MQ"), false), 44100u);
}
