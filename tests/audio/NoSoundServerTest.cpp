#include "AudioTestSupport.h"
#include "audio/AudioException.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLAudioHardware.h"
#include "audio/VORLAudioInputMeter.h"
#include "audio/VORLExtendedAudioFile.h"
#include "audio/VORLExtendedAudioFilePlayer.h"
#include "audio/VORLExtendedAudioFileRecorder.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdlib>
#include <gtest/gtest.h>

using namespace spindrel;

namespace {

// Every case points the sound server at a socket nobody listens on.
class NoSoundServer : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("PULSE_SERVER", qPrintable(QStringLiteral("unix:") + mDir.filePath(QStringLiteral("nobody"))),
               1);
        mClock.start();
    }
    void TearDown() override { EXPECT_LT(mClock.elapsed(), 5000) << "nothing may hang"; }

    QTemporaryDir mDir;
    QElapsedTimer mClock;
};

} // namespace

TEST_F(NoSoundServer, devicesAreEmptyRecordingFailsClearlyAndMetersRaise)
{
    const VORLAudioDevice device(QStringLiteral("vmic"));
    EXPECT_TRUE(device.deviceName().isEmpty());
    EXPECT_EQ(device.numberOfChannelsForDirection(VORLAudioDevice::Input), 0u);
    EXPECT_FALSE(device.canRecordStereo());
    EXPECT_TRUE(VORLAudioHardware::recordingDevices().isEmpty());
    EXPECT_TRUE(VORLAudioHardware::playbackDevices().isEmpty());
    EXPECT_TRUE(VORLAudioHardware::defaultInputDevice().deviceUID().isEmpty());

    QString error;
    const auto file = RecordingPresets::audioFileForRecordingWithFilename(
        mDir.filePath(QStringLiteral("x.m4a")), QStringLiteral("MQ"), true, VORLAudioDevice(), true, &error);
    EXPECT_FALSE(file);
    EXPECT_TRUE(error.contains(QStringLiteral("sound server"))) << error.toStdString();

    // A file made without a device still cannot be recorded into.
    auto fed = std::make_shared<VORLExtendedAudioFile>(
        mDir.filePath(QStringLiteral("y.m4a")),
        RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true), 128000, 44100.0);
    VORLExtendedAudioFileRecorder recorder(fed, VORLAudioDevice(), {0, 1});
    EXPECT_FALSE(recorder.startRecording());
    EXPECT_FALSE(recorder.isFileRecording());
    EXPECT_TRUE(recorder.errorString().contains(QStringLiteral("sound server")))
        << recorder.errorString().toStdString();

    EXPECT_THROW(VORLAudioInputMeter(VORLAudioDevice(), {0, 1}), AudioException);
}

TEST_F(NoSoundServer, aPlayerOpensTheFileButCannotStart)
{
    const QString path = mDir.filePath(QStringLiteral("tone.m4a"));
    {
        VORLExtendedAudioFile file(
            path, RecordingPresets::streamDescriptionForQuality(QStringLiteral("HQ"), true), 0, 44100.0);
        const auto tone = test::sineFrames({440.0, 440.0}, 44100.0, 4410);
        file.writeFrames(tone.data(), 4410);
    }
    VORLExtendedAudioFilePlayer player(path, VORLAudioDevice());
    EXPECT_NEAR(player.maxTime(), 100.0, 0.01);
    player.setCurrentTime(50.0);
    EXPECT_EQ(player.currentFrame(), 2205);
    EXPECT_FALSE(player.startFilePlaying());
    EXPECT_FALSE(player.isFilePlaying());
    EXPECT_TRUE(player.errorString().contains(QStringLiteral("sound server")))
        << player.errorString().toStdString();
}
