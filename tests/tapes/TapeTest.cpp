#include "tapes/Tape.h"

#include "MP4Tags/MP4Tags.h"
#include "MP4Tags/MP4TestFiles.h"
#include "MP4Tags/PositionedIO.h"
#include "TapeTestFiles.h"
#include "foundation/Log.h"
#include "tapes/TapeLetterTag.h"
#include "tapes/TapeQuality.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QMimeData>
#include <QRandomGenerator>
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

// ffmpeg decodes the whole file without an error.
bool decodes(const QString& path)
{
    return runProgram(QStringLiteral("ffmpeg"), QStringLiteral("-v error -xerror -i").split(u' ')
                                                    << path << QStringLiteral("-f null -").split(u' ')) == 0;
}

/// The file as a long recording ends: the same audio with 'mdat' in the 64-bit size form (size 1,
/// the size after the type) before 'moov', so everything after the header moves 8 bytes on and
/// the chunk offsets with it. Empty when the file is not laid out that way.
QByteArray withLargeMdat(QByteArray file)
{
    const mp4test::BoxAt mdat = mp4test::topLevelBox(file, "mdat");
    if (mdat.offset < 0 || mp4test::topLevelBox(file, "moov").offset < mdat.offset)
        return {};
    file.replace(mdat.offset, 8, QByteArray(mp4test::be32(1) + "mdat" + mp4test::be64(mdat.size + 8)));
    mp4test::shiftChunkOffsets(file, 8);
    return file;
}

qint64 endOf(const mp4test::Span& atom)
{
    return atom.offset + atom.size;
}

/// What a tape loaded, as one value to compare field by field.
struct Loaded
{
    QString title;
    QString notes;
    QDateTime date;
    QString letter;
    QString color;
    double duration = 0.0;
    quint64 samplerate = 0;
    QString quality;

    explicit Loaded(const Tape& tape)
        : title(tape.title()), notes(tape.notes()), date(tape.date()), letter(tape.tapeLetter().letter()),
          color(tape.tapeLetter().colorScheme()->colorName()), duration(tape.duration()),
          samplerate(tape.samplerate()), quality(tape.quality())
    {
    }
};

} // namespace

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

TEST_F(TapeTest, CoverArtIsDrawnOnlyWhenWhatTheCassetteShowsChanged)
{
    const QString path = tapePath();
    Tape tape(path);
    tape.setDate(march4);
    ASSERT_TRUE(tape.commitAttributes());
    const std::optional<QByteArray> drawn = MP4Tags::fromFile(path)->coverArt();
    ASSERT_TRUE(drawn);
    // A stand-in for the picture, so that a cover drawn again would show.
    const QByteArray marker("not drawn again");
    ASSERT_TRUE(MP4Tags::fromFile(path)->setCoverArt(marker));

    // Notes and date set to what they were, and the artist, who shows nowhere, change nothing.
    tape.setNotes(tape.notes());
    tape.setDate(march4);
    tape.setArtist(QStringLiteral("Maria"));
    ASSERT_TRUE(tape.commitAttributes());
    EXPECT_FALSE(tape.dirty());
    EXPECT_EQ(MP4Tags::fromFile(path)->coverArt(), marker);
    EXPECT_EQ(MP4Tags::fromFile(path)->artist(), QStringLiteral("Maria"));

    tape.setNotes(QStringLiteral("shown on the label"));
    ASSERT_TRUE(tape.commitAttributes());
    const std::optional<QByteArray> redrawn = MP4Tags::fromFile(path)->coverArt();
    ASSERT_TRUE(redrawn);
    EXPECT_NE(*redrawn, marker);
    EXPECT_NE(*redrawn, *drawn);
    EXPECT_EQ(QImage::fromData(*redrawn, "PNG").size(), QSize(880, 560));

    // A tape loaded anew knows nothing of the file's picture and draws it.
    Tape reloaded(path);
    ASSERT_TRUE(MP4Tags::fromFile(path)->setCoverArt(marker));
    reloaded.setNotes(reloaded.notes());
    ASSERT_TRUE(reloaded.commitAttributes());
    EXPECT_EQ(MP4Tags::fromFile(path)->coverArt(), redrawn);
}

TEST_F(TapeTest, CommittedTitleRenamesAndEveryFieldReadsBack)
{
    const QString path = tapePath();
    const QByteArray before = readFile(path);
    {
        // Only a commit writes: an edited tape let go leaves its file as it was.
        Tape dropped(path);
        dropped.setTitle(QStringLiteral("never written"));
        ASSERT_TRUE(dropped.dirty());
    }
    EXPECT_EQ(files(), QStringList({QFileInfo(path).fileName()}));
    EXPECT_EQ(readFile(path), before);

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
    EXPECT_EQ(again.title(), QStringLiteral("a/b:c"));
    EXPECT_EQ(again.notes(), QStringLiteral("first line\nsecond line"));
    EXPECT_EQ(again.date(), march4);
    EXPECT_TRUE(again.artist().isNull()); // written, never read back
    EXPECT_EQ(again.tapeLetter().letter(), QStringLiteral("Q"));
    EXPECT_EQ(again.tapeLetter().colorScheme()->colorName(), QStringLiteral("green"));
    EXPECT_FALSE(again.dirty());
    EXPECT_TRUE(again.isEqualToTape(tape));
    EXPECT_EQ(qHash(again), qHash(tape));
    EXPECT_EQ(again.mimeData()->urls(), QList<QUrl>{QUrl::fromLocalFile(renamed)}) << "dragged as its file";

    auto tags = MP4Tags::fromFile(renamed);
    EXPECT_EQ(tags->artist(), QStringLiteral("Maria"));
    const QImage cover = QImage::fromData(*tags->coverArt(), "PNG");
    EXPECT_EQ(cover.size(), QSize(880, 560));
    EXPECT_TRUE(decodes(renamed));
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

TEST_F(TapeTest, MissingFileCommitsNothingAndAFifoIsNeverOpened)
{
    const QString path = tapePath();
    Tape tape(path);
    tape.setTitle(QStringLiteral("Gone"));
    QFile::remove(path);
    tape.commitAttributes();
    EXPECT_TRUE(tape.titleDirty());
    EXPECT_TRUE(tape.tapeLetterDirty());
    EXPECT_TRUE(files().isEmpty());

    Tape never(mDir.filePath(QStringLiteral("never.m4a")));
    EXPECT_TRUE(files().isEmpty()) << "loading must not create the file";

    // A FIFO is never opened, so neither loading nor the commit on release waits for a writer.
    const QString fifo = mDir.filePath(QStringLiteral("fifo.m4a"));
    ASSERT_TRUE(makeFifo(fifo));
    double fifoDuration = -1.0;
    EXPECT_TRUE(finishesWithoutTheFifo(fifo, [&] {
        Tape pipe(fifo);
        pipe.setTitle(QStringLiteral("never written"));
        fifoDuration = pipe.duration();
    }));
    EXPECT_EQ(fifoDuration, 0.0);
    EXPECT_TRUE(QFileInfo(fifo).exists() && !QFileInfo(fifo).isFile());
}

TEST_F(TapeTest, FilesCutShortAnywhereInTheirHeadersLoadWhatCanBeRead)
{
    const QString cutPath = mDir.filePath(QStringLiteral("cut.m4a"));
    for (const bool moovFirst : {false, true}) {
        SCOPED_TRACE(moovFirst ? "moov first" : "moov last");
        Tape source(tapePath(QStringLiteral("source.m4a"), {QStringLiteral("LQ"), true, 1.0, moovFirst}));
        source.setTitle(QStringLiteral("Cut"));
        source.setNotes(QStringLiteral("short"));
        source.setDate(march4);
        source.setTapeLetter(TapeLetter(QStringLiteral("K"), TapeColorScheme::colorSchemeWithIndex(1)));
        ASSERT_TRUE(source.commitAttributes());
        const QByteArray whole = readFile(source.filename());
        ASSERT_TRUE(QFile::remove(source.filename()));

        ASSERT_TRUE(writeFile(cutPath, whole).size() > 0);
        Tape full(cutPath);
        const Loaded expected(full);
        ASSERT_EQ(expected.title, QStringLiteral("Cut"));
        ASSERT_GT(expected.duration, 0.9);
        ASSERT_EQ(expected.color, QStringLiteral("blue"));

        const mp4test::Span moov = mp4test::findAtom(whole, {"moov"});
        const mp4test::Span mvhd = mp4test::findAtom(whole, {"moov", "mvhd"});
        const mp4test::Span mdat = mp4test::findAtom(whole, {"mdat"});
        ASSERT_GE(mvhd.offset, 0);
        ASSERT_GE(mdat.offset, 0);
        ASSERT_EQ(moov.offset < mdat.offset, moovFirst);

        const mp4test::Span cover =
            mp4test::findAtom(whole, {"moov", "udta", "meta", "ilst", "covr", "data"});
        ASSERT_GE(cover.offset, 0);

        // Every 37 bytes through the headers: the atoms before the audio, the 'moov' and, in a
        // file whose 'moov' comes last, the end of the audio before it. The cover's PNG bytes are
        // crossed in longer steps, as no atom starts inside them.
        const auto step = [&](qsizetype at) {
            const bool insideImage = at > cover.offset + 64 && at < endOf(cover) - 64;
            return insideImage ? 1999 : 37;
        };
        QList<qsizetype> cuts;
        for (qsizetype cut = 0; cut < mdat.offset + 8 * 37; cut += step(cut))
            cuts << cut;
        for (qsizetype cut = std::max<qsizetype>(moov.offset - 4 * 37, 0); cut < endOf(moov);
             cut += step(cut))
            cuts << cut;
        cuts << moov.offset << moov.offset + 8 << mvhd.offset + 27 << mvhd.offset + 28 << endOf(mvhd)
             << endOf(moov) - 1;

        QStringList caught;
        const LogSink previous = setLogSink([&](const QString& line) {
            if (line.contains(cutPath))
                caught << line;
        });
        for (const qsizetype cut : std::as_const(cuts)) {
            SCOPED_TRACE(QStringLiteral("cut at %1 of %2").arg(cut).arg(whole.size()).toStdString());
            ASSERT_TRUE(writeFile(cutPath, whole.left(cut)).size() > 0);
            std::optional<Loaded> loaded;
            EXPECT_NO_THROW({
                Tape tape(cutPath);
                // Two commit as the deck commits every tape, storing their default letter.
                if (cut == 0 || cut == endOf(mvhd))
                    tape.commitAttributes();
                loaded.emplace(tape);
            });
            ASSERT_TRUE(loaded);
            // Each field is either what the whole file holds or the default, never anything else;
            // the fields not checked here are checked exactly below.
            EXPECT_TRUE(loaded->notes.isNull() || loaded->notes == expected.notes);
            EXPECT_TRUE(!loaded->date.isValid() || loaded->date == expected.date);
            EXPECT_TRUE(loaded->quality.isEmpty() || loaded->quality == expected.quality);
            // The movie header's timescale and duration end 20 bytes into its content.
            const qsizetype lengthKnown = mvhd.offset + 8 + 20;
            if (cut < lengthKnown) {
                EXPECT_EQ(loaded->duration, 0.0);
                EXPECT_EQ(loaded->samplerate, 0u);
            } else {
                // A 'moov' cut after those words still tells the tape's length.
                EXPECT_EQ(loaded->duration, expected.duration);
                EXPECT_EQ(loaded->samplerate, expected.samplerate);
            }
            if (cut < endOf(moov)) {
                EXPECT_TRUE(loaded->title.isNull());
                EXPECT_EQ(loaded->letter, QStringLiteral("A"));
                EXPECT_EQ(loaded->color, QStringLiteral("red"));
            } else {
                // The audio was cut, the headers are whole: everything reads as before.
                EXPECT_EQ(loaded->title, expected.title);
                EXPECT_EQ(loaded->notes, expected.notes);
                EXPECT_EQ(loaded->date, expected.date);
                EXPECT_EQ(loaded->letter, expected.letter);
                EXPECT_EQ(loaded->quality, expected.quality);
            }
        }
        setLogSink(previous);
        // Bounds are checked before reading, so nothing ever reached the tape's last defence.
        EXPECT_EQ(caught.join(u'\n').toStdString(), "");
    }
}

TEST_F(TapeTest, LargeMdatBeforeMoovIsProbedAndItsTagsRead)
{
    // An ffmpeg file rewritten as a recording of more than 4 GiB ends: 'mdat' in the 64-bit form.
    Tape source(tapePath(QStringLiteral("source.m4a"), {QStringLiteral("HQ"), true, 2.5}));
    source.setTitle(QStringLiteral("Long night"));
    source.setDate(march4);
    ASSERT_TRUE(source.commitAttributes());
    const double duration = source.duration();
    ASSERT_GT(duration, 2.4);

    const QByteArray large = withLargeMdat(readFile(source.filename()));
    ASSERT_FALSE(large.isEmpty());
    const QString path = writeFile(mDir.filePath(QStringLiteral("long.m4a")), large);
    ASSERT_FALSE(path.isEmpty());
    ASSERT_EQ(readFile(path).mid(mp4test::topLevelBox(large, "mdat").offset, 8), mp4test::be32(1) + "mdat");
    EXPECT_TRUE(decodes(path)) << "the rewritten file is sound";

    Tape tape(path);
    EXPECT_EQ(tape.duration(), duration);
    EXPECT_EQ(tape.samplerate(), 44100u);
    EXPECT_EQ(tape.quality(), QStringLiteral("HQ"));
    EXPECT_EQ(tape.title(), QStringLiteral("Long night"));
    EXPECT_EQ(tape.date(), march4);
    EXPECT_FALSE(tape.tapeLetterDirty());
}

namespace {

/// The pages of 4096 bytes that lie wholly inside [start, end) and that one of the reads touched.
int pagesReadWithin(const std::vector<ReadTrace::Read>& reads, qint64 start, qint64 end)
{
    constexpr qint64 page = 4096;
    QSet<qint64> touched;
    for (const ReadTrace::Read& read : reads) {
        for (qint64 p = qint64(read.offset) / page; p * page < qint64(read.offset + read.count); ++p) {
            if (p * page >= start && (p + 1) * page <= end)
                touched.insert(p);
        }
    }
    return int(touched.size());
}

} // namespace

TEST_F(TapeTest, LoadingReadsNeitherTheCoverArtNorTheAudio)
{
    // Noise, so that the cover spans many pages of the file; its bytes are never read as a picture.
    QByteArray cover(150 * 1024, '\0');
    QRandomGenerator(7).fillRange(reinterpret_cast<quint32*>(cover.data()), cover.size() / 4);
    for (const bool moovFirst : {false, true}) {
        SCOPED_TRACE(moovFirst ? "moov first" : "moov last");
        const QString path = tapePath(QStringLiteral("tape-%1.m4a").arg(moovFirst),
                                      {QStringLiteral("MQ"), true, 12.0, moovFirst});
        {
            Tape tape(path);
            tape.setNotes(QStringLiteral("Notes about the take"));
            tape.setDate(march4);
            tape.setQuality(QStringLiteral("MQ"));
            ASSERT_TRUE(tape.commitAttributes());
            // A cover of its own, larger than the drawn one, with the quality item after it.
            const auto tags = MP4Tags::fromFile(path);
            ASSERT_TRUE(tags->setCoverArt(cover));
        }
        const QByteArray file = readFile(path);
        const mp4test::Span covr = mp4test::findAtom(file, {"moov", "udta", "meta", "ilst", "covr", "data"});
        const mp4test::BoxAt mdat = mp4test::topLevelBox(file, "mdat");
        ASSERT_GE(covr.offset, 0);
        ASSERT_GE(mdat.offset, 0);
        ASSERT_GT(mdat.size, 100 * 1024);

        const ReadTrace trace;
        const Tape tape(path);
        EXPECT_EQ(tape.notes(), QStringLiteral("Notes about the take"));
        EXPECT_EQ(tape.date(), march4);
        EXPECT_EQ(tape.quality(), QStringLiteral("MQ"));
        EXPECT_FALSE(tape.tapeLetterDirty());
        EXPECT_NEAR(tape.duration(), 12.0, 0.1);
        ASSERT_FALSE(trace.reads().empty());
        // The pages around the headers are read; none that holds only cover art or audio.
        EXPECT_EQ(pagesReadWithin(trace.reads(), covr.offset + 16, covr.offset + covr.size), 0);
        EXPECT_EQ(pagesReadWithin(trace.reads(), mdat.payload(), mdat.offset + mdat.size), 0);
        // The text items and the letter come before the cover art, however late the cover was
        // set, so nothing from the cover's first page to the end of 'moov' is read at all.
        const mp4test::BoxAt moov = mp4test::topLevelBox(file, "moov");
        const qint64 pastCoverStart = (covr.offset + 16) / 4096 * 4096 + 4096;
        for (const ReadTrace::Read& read : trace.reads())
            EXPECT_FALSE(qint64(read.offset + read.count) > pastCoverStart &&
                         qint64(read.offset) < moov.offset + moov.size - 8)
                << read.offset << "+" << read.count << ", cover from " << covr.offset << " to "
                << covr.offset + covr.size << ", moov ends at " << moov.offset + moov.size;
    }
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

TEST(TapeESDSTest, DescriptorWalk)
{
    QTemporaryDir dir;
    Tape tape(dir.filePath(QStringLiteral("none.m4a")));
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
    EXPECT_EQ(tape.bitrate(), 48000u) << "an unknown version is logged and read no further";
    EXPECT_EQ(lines.size(), 1);
}
