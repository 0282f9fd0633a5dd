#include "AudioTestSupport.h"
#include "audio/AudioException.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

struct PresetCase
{
    const char* quality;
    bool stereo;
    bool lockSampleRate;
    double inputRate;
    const char* codec;
    int fileRate;
    const char* sampleFormat;
};

void PrintTo(const PresetCase& preset, std::ostream* out)
{
    *out << preset.quality << (preset.stereo ? " stereo" : " mono") << " from " << preset.inputRate << " Hz";
}

class ExtendedAudioFileTest : public ::testing::TestWithParam<PresetCase>
{
protected:
    QTemporaryDir mDir;
};

// Two seconds of a different tone per channel, fed in uneven pieces as a capture would be.
void feedTones(VORLExtendedAudioFile& file, double seconds)
{
    const unsigned channels = file.channelsPerFrame();
    const std::vector<double> tones =
        channels == 1 ? std::vector<double>{440.0} : std::vector<double>{440.0, 1000.0};
    const size_t total = size_t(seconds * file.inputSampleRate());
    for (size_t done = 0; done < total;) {
        const size_t piece = std::min<size_t>(total - done, 441 + done % 977);
        const auto samples = sineFrames(tones, file.inputSampleRate(), piece, 0.5, done);
        ASSERT_TRUE(file.writeFrames(samples.data(), piece)) << file.errorString().toStdString();
        done += piece;
    }
}

} // namespace

TEST_P(ExtendedAudioFileTest, presetFromMemoryGivesCompleteFileWithTheRightStream)
{
    const PresetCase preset = GetParam();
    const QString path = mDir.filePath(QStringLiteral("tone.m4a"));
    {
        VORLExtendedAudioFile file(
            path,
            RecordingPresets::streamDescriptionForQuality(QString::fromLatin1(preset.quality), preset.stereo,
                                                          preset.lockSampleRate),
            int(RecordingPresets::bitrateForQuality(QString::fromLatin1(preset.quality))), preset.inputRate);
        EXPECT_EQ(file.sampleRate(), preset.fileRate);
        feedTones(file, 2.0);
        file.closeFile();
        EXPECT_FALSE(file.isOpen());
        EXPECT_TRUE(file.errorString().isEmpty()) << file.errorString().toStdString();
    }

    const ProbedAudio probed = probeAudio(path);
    ASSERT_TRUE(probed.ok);
    EXPECT_EQ(probed.codec, QLatin1String(preset.codec));
    EXPECT_EQ(probed.sampleRate, preset.fileRate);
    EXPECT_EQ(probed.channels, preset.stereo ? 2 : 1);
    EXPECT_EQ(probed.sampleFormat, QLatin1String(preset.sampleFormat));
    EXPECT_NEAR(probed.durationSeconds, 2.0, 0.002);
    if (QLatin1String(preset.codec) == QLatin1String("aac")) {
        const double target = RecordingPresets::bitrateForQuality(QString::fromLatin1(preset.quality));
        EXPECT_NEAR(double(probed.bitRate), target, target * 0.25);
    }

    // 'mdat' before 'moov', and the movie counts time in samples.
    const QStringList atoms = topLevelAtoms(path);
    ASSERT_TRUE(atoms.contains(QStringLiteral("mdat")) && atoms.contains(QStringLiteral("moov")));
    EXPECT_EQ(atoms.first(), QStringLiteral("ftyp"));
    EXPECT_LT(atoms.indexOf(QStringLiteral("mdat")), atoms.indexOf(QStringLiteral("moov")));
    EXPECT_EQ(movieTimeScale(path), uint32_t(preset.fileRate));

    const DecodedAudio decoded = decodeAudio(path);
    ASSERT_EQ(decoded.channels, preset.stereo ? 2 : 1);
    // The decoder keeps the encoder's padding up to a whole packet at the end.
    EXPECT_GE(decoded.frames(), size_t(2 * preset.fileRate) - 1);
    EXPECT_LT(decoded.frames(), size_t(2 * preset.fileRate) + 1024);
    const size_t middle = decoded.frames() / 4;
    const auto left = decoded.channel(0, middle, decoded.frames() / 2);
    EXPECT_GT(toneShare(left, decoded.sampleRate, 440.0), 0.9);
    EXPECT_NEAR(rmsDecibels(left), 20.0 * std::log10(0.5 / std::sqrt(2.0)), 0.5);
    if (preset.stereo) {
        const auto right = decoded.channel(1, middle, decoded.frames() / 2);
        EXPECT_GT(toneShare(right, decoded.sampleRate, 1000.0), 0.9);
        EXPECT_LT(toneShare(right, decoded.sampleRate, 440.0), 0.05);
    }
}

INSTANTIATE_TEST_SUITE_P(Presets, ExtendedAudioFileTest,
                         ::testing::Values(PresetCase{"HQ", true, true, 44100.0, "alac", 44100, "s16p"},
                                           PresetCase{"HQ", false, true, 48000.0, "alac", 44100, "s16p"},
                                           PresetCase{"HQ", true, false, 48000.0, "alac", 48000, "s32p"},
                                           PresetCase{"MQ", true, true, 44100.0, "aac", 44100, "fltp"},
                                           PresetCase{"MQ", false, true, 48000.0, "aac", 44100, "fltp"},
                                           PresetCase{"LQ", true, true, 44100.0, "aac", 22050, "fltp"},
                                           PresetCase{"LQ", false, true, 44100.0, "aac", 22050, "fltp"}),
                         [](const auto& testInfo) {
                             return std::string(testInfo.param.quality) +
                                    (testInfo.param.stereo ? "Stereo" : "Mono") +
                                    (testInfo.param.lockSampleRate ? "" : "DeviceRate") +
                                    std::to_string(int(testInfo.param.inputRate));
                         });

TEST(ExtendedAudioFile, emptyTinyAndClosedFilesStayPlayable)
{
    QTemporaryDir closed;
    const QString path = closed.filePath(QStringLiteral("short.m4a"));
    VORLExtendedAudioFile file(
        path, RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true), 128000, 44100.0);
    const auto samples = sineFrames({440.0, 440.0}, 44100.0, 4410);
    ASSERT_TRUE(file.writeFrames(samples.data(), 4410));
    file.closeFile();
    file.closeFile();
    EXPECT_FALSE(file.writeFrames(samples.data(), 4410));
    EXPECT_FALSE(file.errorString().isEmpty());
    EXPECT_NEAR(probeAudio(path).durationSeconds, 0.1, 0.002);

    // Nothing at all, and one frame that the resampler turns into no sample at all.
    for (const auto& [quality, frames] : {std::pair{"HQ", 0}, std::pair{"LQ", 1}}) {
        QTemporaryDir dir;
        const QString emptyPath = dir.filePath(QStringLiteral("empty.m4a"));
        {
            VORLExtendedAudioFile emptyFile(
                emptyPath, RecordingPresets::streamDescriptionForQuality(QString::fromLatin1(quality), true),
                48000, 44100.0);
            const float sample[2] = {0.1f, 0.1f};
            if (frames)
                emptyFile.writeFrames(sample, 1);
        } // the destructor closes
        const ProbedAudio probed = probeAudio(emptyPath);
        ASSERT_TRUE(probed.ok) << quality;
        EXPECT_GT(probed.durationSeconds, 0.0) << quality;
        EXPECT_LE(probed.durationSeconds, 0.0011) << quality;
    }
}

TEST(ExtendedAudioFile, unusableTargetsRaise)
{
    QTemporaryDir dir;
    const auto mq = RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true);
    EXPECT_THROW(
        VORLExtendedAudioFile(dir.filePath(QStringLiteral("missing/folder/x.m4a")), mq, 128000, 44100.0),
        AudioException);
    EXPECT_THROW(VORLExtendedAudioFile(dir.filePath(QStringLiteral("x.m4a")), mq, 128000, 0.0),
                 AudioException);
    AudioStreamBasicDescription pcm;
    pcm.mFormatID = kAudioFormatLinearPCM;
    pcm.mChannelsPerFrame = 2;
    pcm.mSampleRate = 44100.0;
    EXPECT_THROW(VORLExtendedAudioFile(
                     dir.filePath(QStringLiteral("x.m4a")),
                     VORLAudioStreamBasicDescription::streamDescriptionWithAudioStreamBasicDescription(pcm),
                     0, 44100.0),
                 AudioException);
    EXPECT_FALSE(QFile::exists(dir.filePath(QStringLiteral("x.m4a"))));
}
