#include "tapes/Tape.h"

#include "MP4Tags/MP4Tags.h"
#include "TapeTestFiles.h"
#include "foundation/Log.h"
#include "tapes/TapeLetterTag.h"
#include "tapes/TapeQuality.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMimeData>
#include <QSet>
#include <QUrl>
#include <gtest/gtest.h>

using namespace spindrel;
using namespace spindrel::test;

namespace {

class TapeTest : public ::testing::Test
{
protected:
    QString tapePath(const QString& name = QStringLiteral("tape.m4a"), const TapeFileKind& kind = {})
    {
        const QString path = mDir.filePath(name);
        EXPECT_TRUE(makeTapeFile(path, kind));
        return path;
    }
    QStringList files() const { return QDir(mDir.path()).entryList(QDir::Files, QDir::Name); }

    QTemporaryDir mDir;
};

const QDateTime march4 = QDateTime(QDate(2012, 3, 4), QTime(10, 15, 7));

QJsonObject ffprobe(const QString& path)
{
    QByteArray json;
    runProgram(QStringLiteral("ffprobe"),
               QStringLiteral("-v error -of json -show_streams").split(u' ') << path, &json);
    return QJsonDocument::fromJson(json).object().value(QStringLiteral("streams")).toArray().at(0).toObject();
}

} // namespace

TEST_F(TapeTest, ProbeAgreesWithFFprobeInEveryPreset)
{
    for (const QString& quality : {QStringLiteral("HQ"), QStringLiteral("MQ"), QStringLiteral("LQ")}) {
        for (const bool stereo : {true, false}) {
            SCOPED_TRACE(quality.toStdString() + (stereo ? " stereo" : " mono"));
            const QString path = tapePath(QStringLiteral("probe.m4a"), {quality, stereo, 2.5});
            Tape tape(path);
            tape.setCommitsWhenReleased(false);
            const QJsonObject stream = ffprobe(path);
            const double sampleRate = stream.value(QStringLiteral("sample_rate")).toString().toDouble();
            EXPECT_EQ(double(tape.samplerate()), sampleRate);
            EXPECT_NEAR(tape.duration(), stream.value(QStringLiteral("duration")).toString().toDouble(),
                        1024.0 / sampleRate);
            // The bounds are halved for mono, so a mono LQ tape at 48 kbit/s reads as HQ.
            const quint64 bitrate = stream.value(QStringLiteral("bit_rate")).toString().toULongLong();
            const bool twoChannels = stream.value(QStringLiteral("channels")).toInt() == 2;
            EXPECT_EQ(tape.quality(), quality == QLatin1String("HQ")
                                          ? quality
                                          : TapeQuality::qualityForBitrate(bitrate, 0, twoChannels));
            if (quality != QLatin1String("LQ") || stereo) {
                EXPECT_EQ(tape.quality(), quality);
            }
            EXPECT_EQ(tape.sampleRate(), 0u);
            // Lossless files carry no stream descriptor, so only AAC tapes know their channels.
            if (quality != QLatin1String("HQ")) {
                EXPECT_EQ(tape.stereo(), stream.value(QStringLiteral("channels")).toInt() == 2);
            }
        }
    }
}

TEST_F(TapeTest, UntaggedFileLoadsWithDefaultsAndCommitsWithoutRenaming)
{
    const QString path = tapePath();
    {
        Tape tape(path);
        EXPECT_TRUE(tape.title().isNull());
        EXPECT_TRUE(tape.notes().isNull());
        EXPECT_FALSE(tape.date().isValid());
        EXPECT_EQ(tape.tapeLetter().letter(), QStringLiteral("A"));
        EXPECT_EQ(tape.tapeLetter().colorScheme()->index(), 0u);
        EXPECT_TRUE(tape.tapeLetterDirty());
        EXPECT_FALSE(tape.titleDirty() || tape.notesDirty() || tape.dateDirty() || tape.artistDirty());
        tape.commitAttributes();
        EXPECT_FALSE(tape.dirty());
        EXPECT_EQ(tape.filename(), path);
    }
    EXPECT_EQ(files(), QStringList({QStringLiteral("tape.m4a")}));
    const auto tags = MP4Tags::fromFile(path);
    EXPECT_TRUE(readTapeLetter(*tags));
    EXPECT_FALSE(tags->title());
    const std::optional<QByteArray> cover = tags->coverArt();
    ASSERT_TRUE(cover);

    // The artist alone writes no cover and does not rename.
    Tape tape(path);
    tape.setArtist(QStringLiteral("Someone"));
    EXPECT_TRUE(tape.dirty());
    tape.commitAttributes();
    EXPECT_EQ(tape.filename(), path);
    EXPECT_EQ(MP4Tags::fromFile(path)->artist(), QStringLiteral("Someone"));
    EXPECT_EQ(MP4Tags::fromFile(path)->coverArt(), cover);
}

TEST_F(TapeTest, CommittedTitleRenamesAndEveryFieldReadsBack)
{
    const QString path = tapePath();
    Tape tape(path);
    tape.setTitle(QStringLiteral("a/b:c"));
    tape.setNotes(QStringLiteral("first line\nsecond line"));
    tape.setDate(march4);
    tape.setArtist(QStringLiteral("Maria"));
    tape.setTapeLetter(TapeLetter(QStringLiteral("Q"), TapeColorScheme::colorSchemeWithIndex(3)));
    tape.commitAttributes();

    const QString renamed = mDir.filePath(QStringLiteral("[2012-03-04] a_b_c.m4a"));
    EXPECT_EQ(tape.filename(), renamed);
    EXPECT_FALSE(tape.dirty());
    EXPECT_EQ(files(), QStringList({QStringLiteral("[2012-03-04] a_b_c.m4a")}));

    Tape again(renamed);
    again.setCommitsWhenReleased(false);
    EXPECT_EQ(again.title(), QStringLiteral("a/b:c"));
    EXPECT_EQ(again.notes(), QStringLiteral("first line\nsecond line"));
    EXPECT_EQ(again.date(), march4);
    EXPECT_TRUE(again.artist().isNull()); // written, never read back
    EXPECT_EQ(again.tapeLetter().letter(), QStringLiteral("Q"));
    EXPECT_EQ(again.tapeLetter().colorScheme()->colorName(), QStringLiteral("green"));
    EXPECT_FALSE(again.dirty());
    EXPECT_TRUE(again.isEqualToTape(tape));

    auto tags = MP4Tags::fromFile(renamed);
    EXPECT_EQ(tags->artist(), QStringLiteral("Maria"));
    const QImage cover = QImage::fromData(*tags->coverArt(), "PNG");
    EXPECT_EQ(cover.size(), QSize(880, 560));
    EXPECT_EQ(runProgram(QStringLiteral("ffmpeg"), {"-v", "error", "-i", renamed, "-f", "null", "-"}), 0);
}

TEST_F(TapeTest, RenameTakesTheNextFreeNameAndCountsItsOwnPath)
{
    tapePath(QStringLiteral("[2012-03-04] Piano.m4a"));
    Tape tape(tapePath());
    tape.setDate(march4);
    tape.setTitle(QStringLiteral("Piano"));
    tape.commitAttributes();
    EXPECT_EQ(QFileInfo(tape.filename()).fileName(), QStringLiteral("[2012-03-04] Piano 1.m4a"));
    // Re-committing the same title moves on, since the tape's own name counts as taken.
    tape.setTitle(QStringLiteral("Piano"));
    tape.commitAttributes();
    EXPECT_EQ(QFileInfo(tape.filename()).fileName(), QStringLiteral("[2012-03-04] Piano 2.m4a"));
}

TEST_F(TapeTest, MissingFileCommitsNothingAndBadFilesLoadWithDefaults)
{
    const QString path = tapePath();
    Tape tape(path);
    tape.setTitle(QStringLiteral("Gone"));
    QFile::remove(path);
    tape.commitAttributes();
    EXPECT_TRUE(tape.titleDirty());
    EXPECT_TRUE(tape.tapeLetterDirty());
    EXPECT_TRUE(files().isEmpty());
    tape.setCommitsWhenReleased(false);

    Tape never(mDir.filePath(QStringLiteral("never.m4a")));
    never.setCommitsWhenReleased(false);
    EXPECT_TRUE(files().isEmpty()) << "loading must not create the file";

    // Files that are not or no longer whole MPEG-4 load with defaults.
    const QString truncated = tapePath(QStringLiteral("cut.m4a"));
    QFile::resize(truncated, QFileInfo(truncated).size() / 2);
    Tape cut(truncated);
    cut.setCommitsWhenReleased(false);
    EXPECT_EQ(cut.tapeLetter().letter(), QStringLiteral("A"));
    QFile::resize(truncated, 40);
    Tape bogus(truncated);
    bogus.setCommitsWhenReleased(false);
    EXPECT_EQ(bogus.duration(), 0.0);
    EXPECT_TRUE(bogus.title().isNull());
}

TEST_F(TapeTest, FailedRenameReportsAndKeepsThePath)
{
    const QString path = tapePath();
    Tape tape(path);
    QList<Error> errors;
    QObject::connect(&tape, &Tape::errorOccurred, [&](const Error& error) { errors << error; });
    // A name longer than the file system allows fails to rename, even for root.
    tape.setTitle(QString(300, QLatin1Char('x')));
    tape.commitAttributes();
    EXPECT_EQ(tape.filename(), path);
    EXPECT_FALSE(tape.titleDirty());
    ASSERT_EQ(errors.size(), 1);
    EXPECT_FALSE(errors.first().localizedDescription().isEmpty());
    EXPECT_EQ(MP4Tags::fromFile(path)->title(), QString(300, QLatin1Char('x')))
        << "the title tag is written first";
}

TEST_F(TapeTest, IdentityDescriptionAndDragForm)
{
    const QString path = tapePath();
    Tape a(path);
    Tape b(path);
    a.setCommitsWhenReleased(false);
    b.setCommitsWhenReleased(false);
    EXPECT_TRUE(a.isEqualToTape(b));
    EXPECT_EQ(qHash(a), qHash(b));
    const auto mime = a.mimeData();
    ASSERT_EQ(mime->urls().size(), 1);
    EXPECT_EQ(mime->urls().first(), QUrl::fromLocalFile(path));
}

TEST(TapeESDSTest, DescriptorWalk)
{
    QTemporaryDir dir;
    Tape tape(dir.filePath(QStringLiteral("none.m4a")));
    tape.setCommitsWhenReleased(false);
    const auto esds = [](const char* hex) { return QByteArray::fromHex(hex); };
    // Real descriptors are read in the probe test; a one-byte size form is not recognised.
    tape.parseESDS(esds("00000000 03808080 22 0001 00 04808080 14 40 15 000000 00030d40 0000bb80 "
                        "05808080 02 1208"));
    tape.parseESDS(esds("00000000 03 19 0001 00 04 11 40 15 000000 00030d40 0001f400 05 02 1210"));
    EXPECT_EQ(tape.bitrate(), 48000u);
    EXPECT_FALSE(tape.stereo());

    QStringList lines;
    const LogSink previous = setLogSink([&](const QString& line) { lines << line; });
    tape.parseESDS(esds("01000000 04808080 14 40 15 000000 00030d40 0001f400"));
    setLogSink(previous);
    EXPECT_EQ(tape.bitrate(), 48000u);
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.first().endsWith(QStringLiteral(" : Encountered unexpected ESDS version. Bailing.")));
    EXPECT_TRUE(lines.first().startsWith(QStringLiteral("(ERROR) ")));
}
