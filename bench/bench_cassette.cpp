// Movie frames: the cassette at scale 2.0 with the reels one step further, centred on a black
// 1280x720 frame, against the peer of drawing every frame from vectors. A large frame
// (about 2560x1440) shows that the cost of a step does not grow with the picture.
#include "tapes/CassetteArtwork.h"

#include <QPainter>
#include <benchmark/benchmark.h>
#include <cstdlib>

using namespace spindrel;

namespace {

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

} // namespace

BENCHMARK(BM_MovieFrame_Cached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MovieFrame_Vectors)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeFrame_Cached)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LargeFrame_Vectors)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReelStepOnly_Cached)->Unit(benchmark::kMillisecond);
