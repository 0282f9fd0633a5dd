#include "TapeTestFiles.h"
#include "tapes/Tape.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

QStringList words(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '));
}

// A file another program made: ffmpeg counts the movie in milliseconds, not in samples.
QString encode(const QTemporaryDir& dir, const QString& name, const QString& source, const QStringList& codec)
{
    const QString path = dir.filePath(name);
    const QStringList arguments = words("-v error -y -f lavfi -i")
                                  << source << words("-t 2") << codec << path;
    return runProgram(QStringLiteral("ffmpeg"), arguments) == 0 ? path : QString();
}

} // namespace

TEST(TapeQualityProbe, ForeignFilesShowTheirCodingAndTheTrackRateNotTheMovieClock)
{
    QTemporaryDir dir;
    const QString tone = QStringLiteral("sine=frequency=440:sample_rate=48000");
    struct Case
    {
        const char* name;
        const char* codec;
        const char* quality;
        bool stereo;
    };
    const Case cases[] = {
        // Between the lossy windows: the nearer preset, never the lossless badge.
        {"aac96.m4a", "-ac 2 -c:a aac -b:a 96k", "MQ", true},
        {"aac32mono.m4a", "-ac 1 -c:a aac -b:a 32k", "LQ", false},
        {"alac.m4a", "-ac 2 -c:a alac", "HQ", true},
        {"alacmono.m4a", "-ac 1 -c:a alac", "HQ", false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        const QString path = encode(dir, QString::fromLatin1(each.name), tone, words(each.codec));
        ASSERT_FALSE(path.isEmpty()) << "ffmpeg failed";
        const Tape tape(path);
        EXPECT_EQ(tape.quality(), QLatin1String(each.quality));
        EXPECT_EQ(tape.samplerate(), 48000u);
        EXPECT_EQ(tape.stereo(), each.stereo);
        EXPECT_NEAR(tape.duration(), 2.0, 0.05);
    }
}

TEST(TapeQualityProbe, ARecordingShowsItsPresetSilentOrNotAcrossCommitsAndLoads)
{
    QTemporaryDir dir;
    const QString path = encode(dir, QStringLiteral("silent.m4a"),
                                QStringLiteral("anullsrc=r=44100:cl=stereo"), words("-c:a aac -b:a 128k"));
    ASSERT_FALSE(path.isEmpty()) << "ffmpeg failed";
    {
        // Silence costs the encoder almost no bits: the audio alone reads as a lower preset,
        // but never as lossless.
        const Tape unknown(path);
        EXPECT_NE(unknown.quality(), QStringLiteral("HQ"));
    }

    Tape recorded(path);
    recorded.setQuality(QStringLiteral("MQ"));
    EXPECT_EQ(recorded.quality(), QStringLiteral("MQ"));
    EXPECT_TRUE(recorded.dirty()) << "the preset is stored by the next commit";
    ASSERT_TRUE(recorded.commitAttributes());
    EXPECT_FALSE(recorded.dirty());

    Tape reloaded(recorded.filename());
    EXPECT_EQ(reloaded.quality(), QStringLiteral("MQ"));
    EXPECT_FALSE(reloaded.tapeLetterDirty()) << "the letter stored beside it is still there";
    reloaded.setNotes(QStringLiteral("later edit"));
    ASSERT_TRUE(reloaded.commitAttributes());
    reloaded.loadAttributes();
    EXPECT_EQ(reloaded.quality(), QStringLiteral("MQ")) << "other edits keep the stored preset";
}
