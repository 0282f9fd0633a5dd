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

TEST(TapeQualityProbe, EachFileShowsItsCodingAndTheTrackRateNotTheMovieClock)
{
    QTemporaryDir dir;
    const QString tone = QStringLiteral("sine=frequency=440:sample_rate=48000");
    const struct
    {
        const char* quality;
        bool stereo;
        quint64 rate;
        const char* foreignCodec; // null: as the recorder writes it, 2.5 s
    } cases[] = {
        {"HQ", true, 44100, nullptr},
        {"HQ", false, 44100, nullptr},
        {"MQ", true, 44100, nullptr},
        {"MQ", false, 44100, nullptr},
        {"LQ", true, 22050, nullptr},
        {"LQ", false, 22050, nullptr},
        // Between the lossy windows: the nearer preset, never the lossless badge.
        {"MQ", true, 48000, "-ac 2 -c:a aac -b:a 96k"},
        {"LQ", false, 48000, "-ac 1 -c:a aac -b:a 32k"},
        {"HQ", true, 48000, "-ac 2 -c:a alac"},
        {"HQ", false, 48000, "-ac 1 -c:a alac"},
    };
    for (const auto& c : cases) {
        const QString quality = QLatin1String(c.quality);
        const QString name = quality + (c.stereo ? u'2' : u'1') + (c.foreignCodec ? u'f' : u'r') + u".m4a";
        SCOPED_TRACE(name.toStdString());
        QString path = dir.filePath(name);
        if (c.foreignCodec)
            path = encode(dir, name, tone, words(c.foreignCodec));
        else
            ASSERT_TRUE(makeTapeFile(path, {quality, c.stereo, 2.5}));
        ASSERT_FALSE(path.isEmpty()) << "ffmpeg failed";
        const Tape tape(path);
        EXPECT_EQ(tape.quality(), quality);
        EXPECT_EQ(tape.samplerate(), c.rate);
        EXPECT_EQ(tape.stereo(), c.stereo);
        EXPECT_NEAR(tape.duration(), c.foreignCodec ? 2.0 : 2.5, 0.05);
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
