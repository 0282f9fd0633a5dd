// The cassette picture. Movie frames: the cassette at scale 2.0 with the reels one step further,
// centred on a black 1280x720 frame, against the peer of drawing every frame from vectors; a large
// frame (about 2560x1440) shows that the cost of a step does not grow with the picture. Cover art:
// a tape's picture drawn and stored as PNG, and one whole commit of a tape that lacks its letter,
// against the goal of 10 ms a commit.
#include "RatioReporter.h"
#include "ToneFile.h"
#include "tapes/CassetteArtwork.h"
#include "tapes/Tape.h"
#include "tapes/TapeCassette.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QPainter>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <map>

using namespace spindrel;

namespace {

constexpr double commitGoalMilliseconds = 10.0;

CassetteValues frameValues()
{
    CassetteValues values;
    values.title = QStringLiteral("Kitchen session with Maria");
    values.timeLine = QStringLiteral("Recorded Mar 4, 2012 at 8:15 PM | 12:34");
    values.quality = QStringLiteral("HQ");
    values.notes = QStringLiteral("Two takes of the waltz, then the long improvisation");
    return values;
}

void centreOnFrame(QImage& frame, const QImage& picture)
{
    frame.fill(Qt::black);
    QImage pixels = picture;
    pixels.setDevicePixelRatio(1.0);
    QPainter painter(&frame);
    painter.drawImage((frame.width() - pixels.width()) / 2, (frame.height() - pixels.height()) / 2, pixels);
}

void movieFrameFromCache(benchmark::State& state, qreal scale, QSize frameSize)
{
    CassetteArtwork artwork(frameValues());
    QImage frame(frameSize, QImage::Format_RGB32);
    artwork.thumbnail(scale);
    for (auto _ : state) {
        artwork.rotationStep(1.0);
        centreOnFrame(frame, artwork.thumbnail(scale));
        benchmark::DoNotOptimize(frame.constBits());
    }
}

void movieFrameFromVectors(benchmark::State& state, qreal scale, QSize frameSize)
{
    CassetteArtwork artwork(frameValues());
    QImage frame(frameSize, QImage::Format_RGB32);
    const QSize pictureSize = (CassetteArtwork::tapeSize() * scale).toSize();
    for (auto _ : state) {
        artwork.rotationStep(1.0);
        QImage picture(pictureSize, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        {
            QPainter painter(&picture);
            painter.scale(scale, scale);
            artwork.paint(painter);
        }
        centreOnFrame(frame, picture);
        benchmark::DoNotOptimize(frame.constBits());
    }
}

void BM_MovieFrame_Cached(benchmark::State& state)
{
    movieFrameFromCache(state, 2.0, QSize(1280, 720));
}
void BM_MovieFrame_Vectors(benchmark::State& state)
{
    movieFrameFromVectors(state, 2.0, QSize(1280, 720));
}
void BM_LargeFrame_Cached(benchmark::State& state)
{
    movieFrameFromCache(state, 5.5, QSize(2560, 1440));
}
void BM_LargeFrame_Vectors(benchmark::State& state)
{
    movieFrameFromVectors(state, 5.5, QSize(2560, 1440));
}

void BM_ReelStepOnly_Cached(benchmark::State& state)
{
    CassetteArtwork artwork(frameValues());
    artwork.thumbnail(2.0);
    for (auto _ : state) {
        artwork.rotationStep(1.0);
        benchmark::DoNotOptimize(artwork.thumbnail(2.0).constBits());
    }
}

// Every iteration a label no cover before it had, so that nothing drawn for one tape serves the next.
CassetteValues coverValues(int serial)
{
    CassetteValues values = frameValues();
    values.title = QStringLiteral("Rehearsal take %1").arg(serial);
    values.notes = QStringLiteral("notes for take %1").arg(serial);
    return values;
}

void BM_CoverArtPNG(benchmark::State& state)
{
    int serial = 0;
    qsizetype bytes = 0;
    for (auto _ : state)
        bytes = TapeCassette::coverArtPNG(coverValues(serial++)).size();
    state.counters["kB"] = double(bytes) / 1000.0;
}

// The first tape of a letter, colour scheme and quality, which draws the label's body anew.
void BM_CoverArtPNG_NewLook(benchmark::State& state)
{
    int serial = 0;
    qsizetype bytes = 0;
    for (auto _ : state) {
        CassetteValues values = coverValues(serial);
        values.letter = QString(QChar(u'A' + serial % 26));
        values.letterBackgroundColor = QColor::fromHsv(serial++ % 360, 200, 200);
        bytes = TapeCassette::coverArtPNG(values).size();
    }
    state.counters["kB"] = double(bytes) / 1000.0;
}

// The peer: the whole picture drawn and handed to Qt's PNG writer for every tape.
void BM_CoverArtPNG_DrawnWhole(benchmark::State& state)
{
    int serial = 0;
    qsizetype bytes = 0;
    for (auto _ : state) {
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        CassetteArtwork(coverValues(serial++)).coverArtImage().save(&buffer, "PNG");
        bytes = png.size();
    }
    state.counters["kB"] = double(bytes) / 1000.0;
}

// A 2-second LQ tape as the recorder writes it, tagged but without its letter or cover.
QString letterlessTape(const QTemporaryDir& dir)
{
    const QString path = dir.filePath(QStringLiteral("base.m4a"));
    if (QFile::exists(path))
        return path;
    spindrel::bench::encodeTone(path, 22050, 2, QStringLiteral("48k"),
                                {QStringLiteral("-movie_timescale"), QStringLiteral("22050"),
                                 QStringLiteral("-metadata"), QStringLiteral("title=Rehearsal")});
    return path;
}

// A whole commit: the letter and cover art written into the file, which is synced to the disk.
void BM_CommitLetterlessTape(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString source = letterlessTape(dir);
    if (Tape(source).duration() < 1.0) {
        state.SkipWithError("the tape could not be made (is ffmpeg installed?)");
        return;
    }
    int serial = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const QString path = dir.filePath(QStringLiteral("%1.m4a").arg(serial));
        QFile::copy(source, path);
        Tape tape(path);
        // Each tape its own label, as in a library of foreign files.
        tape.setNotes(QStringLiteral("notes for take %1").arg(serial++));
        state.ResumeTiming();
        if (!tape.tapeLetterDirty() || !tape.commitAttributes()) {
            state.SkipWithError("the commit failed");
            return;
        }
        state.PauseTiming();
        QFile::remove(path);
        state.ResumeTiming();
    }
}

} // namespace

BENCHMARK(BM_MovieFrame_Cached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MovieFrame_Vectors)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeFrame_Cached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeFrame_Vectors)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReelStepOnly_Cached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CoverArtPNG)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CoverArtPNG_NewLook)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CoverArtPNG_DrawnWhole)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CommitLetterlessTape)->Unit(benchmark::kMillisecond)->UseRealTime();

int main(int argc, char** argv)
{
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QGuiApplication app(argc, argv);
    return spindrel::bench::runBenchmarks(argc, argv, [](const spindrel::bench::RatioReporter& reporter) {
        reporter.printRatio("Cover art of a tape, drawn whole / cached", "BM_CoverArtPNG",
                            "BM_CoverArtPNG_DrawnWhole");
        reporter.printGoalRatio("Commit of a letter-less tape, goal / ours", "BM_CommitLetterlessTape",
                                commitGoalMilliseconds);
    });
}
