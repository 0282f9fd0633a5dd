#include "audio/AudioFileReader.h"

#include "AudioTestSupport.h"
#include "MP4Tags/MP4TestFiles.h"
#include "audio/AudioException.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

// A tone file whose frame n has a value that identifies n: a slow ramp on the left, a sine on
// the right, so reads at any position can be checked against the samples written.
QString writeRampFile(const QDir& dir, const QString& quality, double seconds)
{
    const QString path = dir.filePath(quality + QStringLiteral(".m4a"));
    VORLExtendedAudioFile file(path, RecordingPresets::streamDescriptionForQuality(quality, true),
                               int(RecordingPresets::bitrateForQuality(quality)), 44100.0);
    const size_t frames = size_t(seconds * 44100.0);
    std::vector<float> samples = sineFrames({0.0, 440.0}, 44100.0, frames);
    for (size_t i = 0; i < frames; ++i)
        samples[i * 2] = float(i % 65536) / 65536.0f - 0.5f;
    file.writeFrames(samples.data(), frames);
    file.closeFile();
    return path;
}

std::vector<float> readAll(AudioFileReader& reader)
{
    std::vector<float> all(size_t(reader.totalFrames()) * reader.channels());
    const int64_t got = reader.read(0, reader.totalFrames(), all.data());
    all.resize(size_t(got) * reader.channels());
    return all;
}

} // namespace

TEST(AudioFileReader, losslessFileReadsBackExactlyFromAnyPosition)
{
    QTemporaryDir dir;
    const QString path = writeRampFile(QDir(dir.path()), QStringLiteral("HQ"), 1.5);
    AudioFileReader reader(path);
    EXPECT_EQ(reader.sampleRate(), 44100);
    EXPECT_EQ(reader.channels(), 2);
    ASSERT_EQ(reader.totalFrames(), 66150);
    const std::vector<float> sequential = readAll(reader);
    ASSERT_EQ(sequential.size(), 66150u * 2);
    EXPECT_NEAR(sequential[2 * 1000], 1000.0f / 65536.0f - 0.5f, 1.0f / 32768.0f);

    // Backwards in uneven blocks, as reverse play reads: every frame equals the sequential read.
    std::vector<float> block(5000 * 2);
    for (int64_t end = reader.totalFrames(); end > 0;) {
        const int64_t start = std::max<int64_t>(0, end - 4999);
        ASSERT_EQ(reader.read(start, end - start, block.data()), end - start);
        for (int64_t i = 0; i < (end - start) * 2; ++i)
            ASSERT_EQ(block[size_t(i)], sequential[size_t(start * 2 + i)]) << "frame " << start + i / 2;
        end = start;
    }
    EXPECT_EQ(reader.read(66150 - 100, 4096, block.data()), 100);
    EXPECT_EQ(reader.read(66150, 4096, block.data()), 0);
    EXPECT_EQ(reader.read(-5, 10, block.data()), 0);
}

TEST(AudioFileReader, aacSeeksLandOnTheSameSamplesAsDecodingThrough)
{
    QTemporaryDir dir;
    const QString path = writeRampFile(QDir(dir.path()), QStringLiteral("MQ"), 1.0);
    AudioFileReader reader(path);
    ASSERT_EQ(reader.totalFrames(), 44100);
    const std::vector<float> sequential = readAll(reader);
    ASSERT_EQ(sequential.size(), 44100u * 2);
    std::vector<float> block(2048 * 2);
    // From the first packet on; only the very first packet decodes differently after a decoder
    // reset, as the codec has no earlier audio to overlap with.
    for (int64_t start : {30000, 1024, 20000, 41000, 0}) {
        ASSERT_EQ(reader.read(start, 2048, block.data()), 2048);
        double worst = 0.0;
        for (size_t i = start == 0 ? 1024 * 2 : 0; i < block.size(); ++i)
            worst = std::max(worst, double(std::abs(block[i] - sequential[size_t(start) * 2 + i])));
        EXPECT_LT(worst, 1e-3) << "at frame " << start; // lossy, but the same decode
    }
}

TEST(AudioFileReader, filesThatAreNotAudioRaise)
{
    QTemporaryDir dir;
    EXPECT_THROW(AudioFileReader(dir.filePath(QStringLiteral("absent.m4a"))), AudioException);
    const QString text = dir.filePath(QStringLiteral("notes.m4a"));
    mp4test::writeFile(text, QByteArray("These are notes, not a tape.\n").repeated(200));
    try {
        AudioFileReader reader(text);
        FAIL() << "a text file was opened as audio";
    } catch (const AudioException& exception) {
        EXPECT_TRUE(exception.reason().contains(text)) << exception.reason().toStdString();
    }
}
