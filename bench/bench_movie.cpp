// Movie export speed as a multiple of real time, for a 60-second tape at the deck's default
// quality, against the peer of the ffmpeg command line turning the same cassette picture and
// audio into a still-picture movie with x264's default preset. The video-only rows show what
// the encoder settings cost per frame. The ratio lines compare the export with the goal of 20 times
// real time and with the peer.
#include "RatioReporter.h"
#include "sharing/MovieWriter.h"
#include "sharing/TapeMovie.h"
#include "tapes/CassetteArtwork.h"
#include "tapes/Tape.h"
#include "tapes/TapeCassette.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <map>

using namespace spindrel;

namespace {

constexpr double tapeSeconds = 60.0;

struct Fixture
{
    QTemporaryDir dir;
    QString tapePath;
    QString picturePath;

    Fixture()
    {
        tapePath = dir.filePath(QStringLiteral("tape60.m4a"));
        // The deck's default quality: AAC at 48 kbit/s, 22050 Hz, mono.
        QProcess::execute(QStringLiteral("ffmpeg"),
                          {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-y"),
                           QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                           QStringLiteral("sine=frequency=330:duration=%1").arg(tapeSeconds),
                           QStringLiteral("-ac"), QStringLiteral("1"), QStringLiteral("-ar"),
                           QStringLiteral("22050"), QStringLiteral("-c:a"), QStringLiteral("aac"),
                           QStringLiteral("-b:a"), QStringLiteral("48k"), tapePath});
        Tape tape(tapePath);
        CassetteArtwork artwork(TapeCassette::valuesForTape(tape));
        picturePath = dir.filePath(QStringLiteral("cassette.png"));
        TapeMovie::newPixelBufferWithSize(QSize(1280, 720), artwork.thumbnail(2.0)).save(picturePath);
    }
};

Fixture& fixture()
{
    static Fixture instance;
    return instance;
}

void reportRealTimeMultiple(benchmark::State& state)
{
    state.counters["x_real_time"] =
        benchmark::Counter(tapeSeconds * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_TapeMovieExport_60s(benchmark::State& state)
{
    auto tape = std::make_shared<Tape>(fixture().tapePath);
    if (tape->duration() < tapeSeconds - 1.0) {
        state.SkipWithError("the 60-second tape could not be made (is ffmpeg installed?)");
        return;
    }
    qint64 bytes = 0;
    for (auto _ : state) {
        TapeMovie movie(tape);
        movie.setFilename(fixture().dir.filePath(QStringLiteral("export.mov")));
        bool failed = false;
        movie.performMovieExportWithCompletionBlock(
            [&](const std::optional<Error>& error) { failed = bool(error); });
        movie.waitUntilFinished();
        if (failed) {
            state.SkipWithError("export failed");
            return;
        }
        bytes = QFileInfo(movie.filename()).size();
    }
    reportRealTimeMultiple(state);
    state.counters["movie_kB"] = double(bytes) / 1000.0;
}

// Peer: the same picture and audio through the ffmpeg command line, x264 at its default preset.
void BM_FFmpegStillPicture_60s(benchmark::State& state)
{
    const QString out = fixture().dir.filePath(QStringLiteral("peer.mov"));
    for (auto _ : state) {
        const int status = QProcess::execute(QStringLiteral("ffmpeg"), {QStringLiteral("-loglevel"),
                                                                        QStringLiteral("error"),
                                                                        QStringLiteral("-y"),
                                                                        QStringLiteral("-loop"),
                                                                        QStringLiteral("1"),
                                                                        QStringLiteral("-framerate"),
                                                                        QStringLiteral("24"),
                                                                        QStringLiteral("-i"),
                                                                        fixture().picturePath,
                                                                        QStringLiteral("-i"),
                                                                        fixture().tapePath,
                                                                        QStringLiteral("-c:v"),
                                                                        QStringLiteral("libx264"),
                                                                        QStringLiteral("-tune"),
                                                                        QStringLiteral("stillimage"),
                                                                        QStringLiteral("-pix_fmt"),
                                                                        QStringLiteral("yuv420p"),
                                                                        QStringLiteral("-c:a"),
                                                                        QStringLiteral("aac"),
                                                                        QStringLiteral("-ar"),
                                                                        QStringLiteral("44100"),
                                                                        QStringLiteral("-ac"),
                                                                        QStringLiteral("2"),
                                                                        QStringLiteral("-shortest"),
                                                                        out});
        if (status != 0) {
            state.SkipWithError("ffmpeg failed");
            return;
        }
    }
    reportRealTimeMultiple(state);
}

// 240 frames (ten seconds) of turning reels through the video input alone, per x264 preset.
void videoOnly(benchmark::State& state, const char* preset)
{
    CassetteArtwork artwork;
    const QSize size(TapeMovie::frameWidth, TapeMovie::frameHeight);
    const QPoint offset = TapeMovie::pictureOffset(size, artwork.thumbnail(2.0).size());
    for (auto _ : state) {
        std::optional<Error> error;
        auto writer = MovieWriter::create(fixture().dir.filePath(QStringLiteral("video.mov")), error);
        MovieWriter::VideoSettings settings;
        settings.preset = QString::fromLatin1(preset);
        if (!writer || !writer->addVideoInput(settings) || !writer->startWriting()) {
            state.SkipWithError("writer could not start");
            return;
        }
        for (int frame = 0; frame < 240; ++frame) {
            artwork.rotationStep(1.0);
            const QImage picture = TapeMovie::newPixelBufferWithSize(size, artwork.thumbnail(2.0));
            std::vector<QRect> changed;
            for (const auto reel : {CassetteGeometry::Reel::Left, CassetteGeometry::Reel::Right})
                changed.push_back(CassetteArtwork::reelPixelRect(reel, 2.0).translated(offset));
            writer->appendPixelBuffer(picture, frame, changed);
        }
        writer->finishWriting();
    }
    state.counters["frames_per_s"] =
        benchmark::Counter(240.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}

void BM_VideoOnly_Ultrafast(benchmark::State& state)
{
    videoOnly(state, "ultrafast");
}
void BM_VideoOnly_Veryfast(benchmark::State& state)
{
    videoOnly(state, "veryfast");
}
void BM_VideoOnly_Medium(benchmark::State& state)
{
    videoOnly(state, "medium");
}

// The ratio lines at the end: times of whole runs, in seconds.
void printRatios(const spindrel::bench::RatioReporter& reporter)
{
    const auto* ours = reporter.find("BM_TapeMovieExport_60s");
    const auto* peer = reporter.find("BM_FFmpegStillPicture_60s");
    if (!ours)
        return;
    const double wall = ours->GetAdjustedRealTime();
    const double cpu = ours->GetAdjustedCPUTime();
    std::printf(
        "Movie export of a 60 s tape: %.2f s (%.1fx real time, %.2f s of CPU), goal 20x: ratio %.2f\n", wall,
        tapeSeconds / wall, cpu, tapeSeconds / wall / 20.0);
    if (peer)
        std::printf("Movie export, ffmpeg still picture / ours: %.2f s / %.2f s, ratio %.2f\n",
                    peer->GetAdjustedRealTime(), wall, peer->GetAdjustedRealTime() / wall);
}

} // namespace

BENCHMARK(BM_TapeMovieExport_60s)
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(3);
BENCHMARK(BM_FFmpegStillPicture_60s)
    ->Unit(benchmark::kSecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(1);
BENCHMARK(BM_VideoOnly_Ultrafast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(3);
BENCHMARK(BM_VideoOnly_Veryfast)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(3);
BENCHMARK(BM_VideoOnly_Medium)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MeasureProcessCPUTime()
    ->Iterations(3);

int main(int argc, char** argv)
{
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"))
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QGuiApplication app(argc, argv);
    return spindrel::bench::runBenchmarks(argc, argv, printRatios);
}
