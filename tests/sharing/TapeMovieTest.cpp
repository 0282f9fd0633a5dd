#include "sharing/TapeMovie.h"

#include "sharing/MediaTools.h"
#include "tapes/TapeCassette.h"

#include <QFile>
#include <QJsonArray>
#include <QTemporaryDir>
#include <future>
#include <gtest/gtest.h>
#include <mutex>

using namespace spindrel;
using Reel = CassetteGeometry::Reel;

namespace {

// Everything an export reported, collected from its thread.
struct ExportRecord
{
    std::mutex lock;
    std::vector<double> progress;
    std::vector<std::optional<Error>> completions;
};

class TapeMovieTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(mDir.isValid()); }

    TapePtr makeTape(const QString& name, double seconds, int sampleRate = 22050, int channels = 1)
    {
        const QString path = mDir.filePath(name);
        if (!mediatools::makeTape(path, seconds, sampleRate, channels))
            return nullptr;
        return std::make_shared<Tape>(path);
    }

    // Runs an export to the end; `stopAfter` makes the progress block answer false from that call on.
    void exportMovie(TapeMovie& movie, int stopAfterCalls = -1)
    {
        movie.setProgressUpdateBlock([this, stopAfterCalls](double progress) {
            std::lock_guard guard(mRecord.lock);
            mRecord.progress.push_back(progress);
            return stopAfterCalls < 0 || int(mRecord.progress.size()) < stopAfterCalls;
        });
        movie.performMovieExportWithCompletionBlock([this](const std::optional<Error>& error) {
            std::lock_guard guard(mRecord.lock);
            mRecord.completions.push_back(error);
        });
        movie.waitUntilFinished();
    }

    static QJsonObject stream(const QJsonObject& probe, const QString& type)
    {
        for (const QJsonValue& value : probe.value(QStringLiteral("streams")).toArray()) {
            if (value.toObject().value(QStringLiteral("codec_type")).toString() == type)
                return value.toObject();
        }
        return {};
    }

    QTemporaryDir mDir;
    ExportRecord mRecord;
};

TEST_F(TapeMovieTest, TenSecondTapeGivesH264And44kStereoAACOfItsLength)
{
    TapePtr tape = makeTape(QStringLiteral("ten.m4a"), 10.0);
    ASSERT_TRUE(tape);
    TapeMovie movie(tape);
    EXPECT_TRUE(movie.filename().endsWith(QStringLiteral(".mov")));
    exportMovie(movie);

    ASSERT_EQ(mRecord.completions.size(), 1u);
    EXPECT_FALSE(mRecord.completions.front().has_value());

    const QJsonObject probe = mediatools::probe(movie.filename());
    ASSERT_EQ(probe.value(QStringLiteral("streams")).toArray().size(), 2);
    const QJsonObject video = stream(probe, QStringLiteral("video"));
    EXPECT_EQ(video.value(QStringLiteral("codec_name")).toString(), QStringLiteral("h264"));
    EXPECT_EQ(video.value(QStringLiteral("width")).toInt(), 1280);
    EXPECT_EQ(video.value(QStringLiteral("height")).toInt(), 720);
    EXPECT_EQ(video.value(QStringLiteral("r_frame_rate")).toString(), QStringLiteral("24/1"));
    EXPECT_EQ(video.value(QStringLiteral("nb_read_frames")).toString(), QStringLiteral("240"));
    const QJsonObject audio = stream(probe, QStringLiteral("audio"));
    EXPECT_EQ(audio.value(QStringLiteral("codec_name")).toString(), QStringLiteral("aac"));
    EXPECT_EQ(audio.value(QStringLiteral("profile")).toString(), QStringLiteral("LC"));
    EXPECT_EQ(audio.value(QStringLiteral("sample_rate")).toString(), QStringLiteral("44100"));
    EXPECT_EQ(audio.value(QStringLiteral("channels")).toInt(), 2);
    EXPECT_NEAR(audio.value(QStringLiteral("duration")).toString().toDouble(), tape->duration(), 0.03);

    // Frame n is shown at n/24.
    std::vector<double> times;
    const QJsonObject packets = mediatools::probe(movie.filename(), true);
    for (const QJsonValue& packet : packets.value(QStringLiteral("packets")).toArray())
        times.push_back(packet.toObject().value(QStringLiteral("pts_time")).toString().toDouble());
    std::sort(times.begin(), times.end());
    ASSERT_EQ(times.size(), 240u);
    for (size_t n = 0; n < times.size(); ++n)
        ASSERT_NEAR(times[n], double(n) / 24.0, 1e-3) << "frame " << n;

    // 0.0 before the first frame, n/240 before each frame, 1.0 at the end.
    ASSERT_EQ(mRecord.progress.size(), 242u);
    EXPECT_EQ(mRecord.progress.front(), 0.0);
    for (int n = 0; n < 240; ++n)
        ASSERT_DOUBLE_EQ(mRecord.progress[size_t(n) + 1], n / 240.0);
    EXPECT_EQ(mRecord.progress.back(), 1.0);

    // A mono tape plays on both sides at its own level.
    EXPECT_NEAR(mediatools::meanVolume(movie.filename()), mediatools::meanVolume(tape->filename()), 0.5);
}

TEST_F(TapeMovieTest, TheCassetteIsCentredOnBlackAndOnlyItsHubsTurnFrameByFrame)
{
    // 216 frames: the hubs turn 2 degrees a frame, so they come round after 180.
    TapePtr tape = makeTape(QStringLiteral("turns.m4a"), 9.0, 44100, 2);
    ASSERT_TRUE(tape);
    TapeMovie movie(tape);
    exportMovie(movie);

    const CassetteValues values = TapeCassette::valuesForTape(*tape);
    const QSize size(1280, 720);
    const QImage thumbnail = CassetteArtwork(values).thumbnail(2.0);
    const QPoint offset = TapeMovie::pictureOffset(size, thumbnail.size());
    const QImage first = mediatools::decodeFrame(movie.filename(), 24);
    const QImage second = mediatools::decodeFrame(movie.filename(), 48);
    ASSERT_EQ(first.size(), size);
    ASSERT_EQ(second.size(), size);
    // The encoder works in 16-pixel blocks, so a change may spread to the blocks the reels touch.
    QRegion reels;
    for (const Reel reel : {Reel::Left, Reel::Right})
        reels += CassetteArtwork::reelPixelRect(reel, 2.0).translated(offset).adjusted(-16, -16, 16, 16);
    int changedInside = 0;
    int changedOutside = 0;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            const QRgb a = first.pixel(x, y);
            const QRgb b = second.pixel(x, y);
            const int difference =
                std::abs(qRed(a) - qRed(b)) + std::abs(qGreen(a) - qGreen(b)) + std::abs(qBlue(a) - qBlue(b));
            if (difference > 24)
                (reels.contains(QPoint(x, y)) ? changedInside : changedOutside)++;
        }
    }
    EXPECT_GT(changedInside, 200);
    EXPECT_EQ(changedOutside, 0);
    EXPECT_EQ(first.pixel(5, 5) & 0xffffff, 0u);
    EXPECT_EQ(first.pixel(1274, 714) & 0xffffff, 0u);
    const QPoint label = CassetteGeometry::labelRect().center().toPoint() * 2;
    const QRgb expected = thumbnail.pixel(label);
    const QRgb decoded = first.pixel(label + offset);
    EXPECT_NEAR(qRed(decoded), qRed(expected), 6);
    EXPECT_NEAR(qGreen(decoded), qGreen(expected), 6);
    EXPECT_NEAR(qBlue(decoded), qBlue(expected), 6);

    // The hubs as frame n shows them: turned one step more than the frame before, from the start.
    auto hubsAtFrame = [&](int frame) {
        CassetteArtwork artwork(values);
        for (int step = 0; step <= frame; ++step)
            artwork.rotationStep(TapeMovie::reelSpeed);
        return TapeMovie::newPixelBufferWithSize(size, artwork.thumbnail(2.0));
    };
    auto meanDifference = [&](const QImage& a, const QImage& b) {
        double sum = 0;
        int count = 0;
        for (const Reel reel : {Reel::Left, Reel::Right}) {
            const QRect rect = CassetteArtwork::reelPixelRect(reel, 2.0).translated(offset);
            for (int y = rect.top(); y <= rect.bottom(); ++y)
                for (int x = rect.left(); x <= rect.right(); ++x, ++count)
                    sum += std::abs(qGray(a.pixel(x, y)) - qGray(b.pixel(x, y)));
        }
        return sum / count;
    };
    for (const int frame : {10, 100, 190, 215}) {
        const QImage shown = mediatools::decodeFrame(movie.filename(), frame);
        ASSERT_EQ(shown.size(), size) << frame;
        const double right = meanDifference(shown, hubsAtFrame(frame));
        const double turnedOn = meanDifference(shown, hubsAtFrame(frame + 8));
        // Coding loses a little in the moving blocks; 16 degrees off shows four times as much.
        EXPECT_LT(right, 9.0) << "frame " << frame;
        EXPECT_GT(turnedOn, 2.5 * right) << "frame " << frame;
    }
}

TEST_F(TapeMovieTest, StoppingThroughTheProgressBlockCutsTheVideoAndKeepsTheAudio)
{
    TapePtr tape = makeTape(QStringLiteral("stop.m4a"), 4.0);
    ASSERT_TRUE(tape);
    TapeMovie movie(tape);
    // Calls: 0.0 first, then one per frame; the frame whose call says stop is still added.
    exportMovie(movie, 1 + 24);
    ASSERT_EQ(mRecord.completions.size(), 1u);
    EXPECT_FALSE(mRecord.completions.front().has_value());
    const QJsonObject probe = mediatools::probe(movie.filename());
    EXPECT_EQ(stream(probe, QStringLiteral("video")).value(QStringLiteral("nb_read_frames")).toString(),
              QStringLiteral("24"));
    EXPECT_NEAR(
        stream(probe, QStringLiteral("audio")).value(QStringLiteral("duration")).toString().toDouble(), 4.0,
        0.05);
}

TEST_F(TapeMovieTest, TapeShorterThanAFrameGivesAMovieOfAudioOnly)
{
    TapePtr tape = makeTape(QStringLiteral("short.m4a"), 0.03, 44100, 2);
    ASSERT_TRUE(tape);
    ASSERT_EQ(TapeMovie::frameCountForDuration(tape->duration()), 0);
    TapeMovie movie(tape);
    exportMovie(movie);
    ASSERT_EQ(mRecord.completions.size(), 1u);
    EXPECT_FALSE(mRecord.completions.front().has_value());
    const QJsonObject probe = mediatools::probe(movie.filename());
    EXPECT_FALSE(stream(probe, QStringLiteral("audio")).isEmpty());
    EXPECT_EQ(
        stream(probe, QStringLiteral("video")).value(QStringLiteral("nb_read_frames")).toString().toInt(), 0);
    EXPECT_EQ(mRecord.progress, (std::vector<double>{0.0, 1.0}));
}

TEST_F(TapeMovieTest, SecondExportOfOneMovieIsRefused)
{
    TapePtr tape = makeTape(QStringLiteral("twice.m4a"), 1.0);
    ASSERT_TRUE(tape);
    TapeMovie movie(tape);
    std::promise<std::optional<Error>> first;
    movie.performMovieExportWithCompletionBlock(
        [&](const std::optional<Error>& error) { first.set_value(error); });
    std::vector<std::optional<Error>> second;
    movie.performMovieExportWithCompletionBlock(
        [&](const std::optional<Error>& error) { second.push_back(error); });
    ASSERT_EQ(second.size(), 1u);
    ASSERT_TRUE(second.front().has_value());
    EXPECT_EQ(second.front()->localizedDescription(),
              QStringLiteral("Tape movie export already in progress."));
    EXPECT_FALSE(first.get_future().get().has_value());
}

TEST_F(TapeMovieTest, SetUpFailuresReachTheCompletionBlock)
{
    const QString notATape = mDir.filePath(QStringLiteral("not-a-tape.m4a"));
    ASSERT_TRUE(mediatools::makeTape(notATape, 1.0));
    QFile::resize(notATape, 40);
    auto unreadableTape = std::make_shared<Tape>(notATape);
    TapeMovie unreadable(unreadableTape);
    exportMovie(unreadable);
    ASSERT_EQ(mRecord.completions.size(), 1u);
    ASSERT_TRUE(mRecord.completions.front().has_value());
    EXPECT_TRUE(mRecord.progress.empty());

    TapePtr tape = makeTape(QStringLiteral("fine.m4a"), 1.0);
    ASSERT_TRUE(tape);
    TapeMovie unwritable(tape);
    unwritable.setFilename(mDir.filePath(QStringLiteral("no/such/folder/out.mov")));
    exportMovie(unwritable);
    ASSERT_EQ(mRecord.completions.size(), 2u);
    ASSERT_TRUE(mRecord.completions.back().has_value());
    EXPECT_FALSE(QFile::exists(unwritable.filename()));
}

TEST_F(TapeMovieTest, DestroyingARunningExportReportsItOnceAndRemovesTheFile)
{
    TapePtr tape = makeTape(QStringLiteral("long.m4a"), 30.0);
    ASSERT_TRUE(tape);
    QString filename;
    {
        TapeMovie movie(tape);
        filename = movie.filename();
        std::promise<void> started;
        bool signalled = false;
        movie.setProgressUpdateBlock([&](double progress) {
            if (progress > 0.0 && !signalled) {
                signalled = true;
                started.set_value();
            }
            return true;
        });
        movie.performMovieExportWithCompletionBlock([this](const std::optional<Error>& error) {
            std::lock_guard guard(mRecord.lock);
            mRecord.completions.push_back(error);
        });
        started.get_future().wait();
    }
    ASSERT_EQ(mRecord.completions.size(), 1u);
    ASSERT_TRUE(mRecord.completions.front().has_value());
    EXPECT_EQ(mRecord.completions.front()->localizedDescription(),
              QStringLiteral("Error writing movie asset."));
    EXPECT_FALSE(QFile::exists(filename));
}

TEST(TapeMoviePixelBuffer, SmallPictureIsCentredOnBlackAndLargeOneCropped)
{
    QImage small(100, 50, QImage::Format_ARGB32_Premultiplied);
    small.fill(QColor(10, 200, 30));
    small.setPixel(0, 0, qRgb(255, 0, 0));
    const QImage frame = TapeMovie::newPixelBufferWithSize(QSize(1280, 720), small);
    ASSERT_EQ(frame.format(), QImage::Format_RGB32);
    EXPECT_EQ(frame.pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(frame.pixel(589, 334), qRgb(0, 0, 0));
    EXPECT_EQ(frame.pixel(590, 335), qRgb(255, 0, 0));
    EXPECT_EQ(frame.pixel(689, 384), qRgb(10, 200, 30));
    EXPECT_EQ(frame.pixel(690, 385), qRgb(0, 0, 0));

    // Half-transparent colour over black is what the premultiplied pixel holds.
    QImage translucent(2, 2, QImage::Format_ARGB32_Premultiplied);
    translucent.fill(qRgba(100, 50, 0, 128));
    EXPECT_EQ(TapeMovie::newPixelBufferWithSize(QSize(2, 2), translucent).pixel(1, 1), qRgb(100, 50, 0));

    QImage large(1301, 741, QImage::Format_RGB32);
    for (int y = 0; y < large.height(); ++y)
        for (int x = 0; x < large.width(); ++x)
            large.setPixel(x, y, qRgb(x & 255, y & 255, 7));
    const QImage cropped = TapeMovie::newPixelBufferWithSize(QSize(1280, 720), large);
    // floor((1280 - 1301) / 2) = -11, floor((720 - 741) / 2) = -11.
    EXPECT_EQ(cropped.pixel(0, 0), large.pixel(11, 11));
    EXPECT_EQ(cropped.pixel(1279, 719), large.pixel(1290, 730));
}

} // namespace
