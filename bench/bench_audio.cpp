// Audio layer figures: how fast each recording quality encodes, what a long recording costs in
// CPU, and what tape-speed playback costs, with the ffmpeg command as the peer for encoding.
#include "audio/AudioFileReader.h"
#include "audio/RecordingPipeline.h"
#include "audio/RecordingPresets.h"
#include "audio/VORLExtendedAudioFile.h"
#include "audio/VarispeedSource.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <ctime>
#include <numbers>
#include <sys/resource.h>
#include <thread>
#include <vector>

using namespace spindrel;

namespace {

constexpr double kRate = 44100.0;
const char* const kQualities[] = {"HQ", "MQ", "LQ"};

// Music-like material: a few partials with a slow tremolo, so the encoders have work to do.
std::vector<float> programme(double seconds, unsigned channels = 2)
{
    const size_t frames = size_t(seconds * kRate);
    std::vector<float> samples(frames * channels);
    for (size_t i = 0; i < frames; ++i) {
        const double t = double(i) / kRate;
        const double tremolo = 0.6 + 0.4 * std::sin(2.0 * std::numbers::pi * 0.5 * t);
        for (unsigned c = 0; c < channels; ++c) {
            double v = 0.0;
            for (int h = 1; h <= 5; ++h)
                v += std::sin(2.0 * std::numbers::pi * (220.0 + 110.0 * c) * h * t) / (h * 2.0);
            samples[i * channels + c] = float(0.4 * tremolo * v);
        }
    }
    return samples;
}

double processCpuSeconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

double childrenCpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

// Ten seconds of stereo through the writer: the counter is seconds of audio per CPU second.
void BM_EncodeQuality(benchmark::State& state)
{
    const QString quality = QString::fromLatin1(kQualities[state.range(0)]);
    state.SetLabel(quality.toStdString());
    const std::vector<float> audio = programme(10.0);
    QTemporaryDir dir;
    for (auto _ : state) {
        VORLExtendedAudioFile file(dir.filePath(QStringLiteral("bench.m4a")),
                                   RecordingPresets::streamDescriptionForQuality(quality, true),
                                   int(RecordingPresets::bitrateForQuality(quality)), kRate);
        for (size_t done = 0; done < audio.size() / 2; done += 882)
            file.writeFrames(audio.data() + done * 2, std::min<size_t>(882, audio.size() / 2 - done));
        file.closeFile();
    }
    state.counters["times_real_time"] =
        benchmark::Counter(10.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_EncodeQuality)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);

// The peer: the ffmpeg command encoding the same ten seconds at the "MQ" settings.
void BM_PeerFFmpegCommandMQ(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString raw = dir.filePath(QStringLiteral("bench.f32"));
    {
        const std::vector<float> audio = programme(10.0);
        QFile file(raw);
        if (!file.open(QIODevice::WriteOnly)) {
            state.SkipWithError("cannot write the raw input");
            return;
        }
        file.write(reinterpret_cast<const char*>(audio.data()), qint64(audio.size() * sizeof(float)));
    }
    for (auto _ : state) {
        const double before = childrenCpuSeconds();
        QProcess ffmpeg;
        ffmpeg.start(
            QStringLiteral("ffmpeg"),
            {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
             QStringLiteral("f32le"), QStringLiteral("-ar"), QStringLiteral("44100"), QStringLiteral("-ac"),
             QStringLiteral("2"), QStringLiteral("-i"), raw, QStringLiteral("-c:a"), QStringLiteral("aac"),
             QStringLiteral("-b:a"), QStringLiteral("128k"), dir.filePath(QStringLiteral("peer.m4a"))});
        if (!ffmpeg.waitForFinished(120000) || ffmpeg.exitCode() != 0) {
            state.SkipWithError("ffmpeg failed");
            return;
        }
        state.SetIterationTime(childrenCpuSeconds() - before);
    }
    state.counters["times_real_time"] =
        benchmark::Counter(10.0 * double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PeerFFmpegCommandMQ)->UseManualTime()->Unit(benchmark::kMillisecond);

// A 60-second "MQ" recording fed from memory through the capture path (channel picking into
// the ring, the encoder thread, the file): CPU of the whole process as a share of one core
// over the 60 seconds the recording lasts.
void BM_RecordingSixtySecondsMQ(benchmark::State& state)
{
    const std::vector<float> audio = programme(60.0);
    QTemporaryDir dir;
    double cpuPercent = 0.0;
    for (auto _ : state) {
        const double before = processCpuSeconds();
        auto file = std::make_shared<VORLExtendedAudioFile>(
            dir.filePath(QStringLiteral("sixty.m4a")),
            RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true), 128000, kRate);
        RecordingPipeline pipeline(file, {0, 1}, 2);
        pipeline.beginSession({});
        const size_t frames = audio.size() / 2;
        for (size_t done = 0; done < frames;) {
            const size_t piece = std::min<size_t>(882, frames - done); // 20 ms, as the server delivers
            while (pipeline.freeFrames() < piece)
                std::this_thread::sleep_for(std::chrono::microseconds(200));
            pipeline.captureInterleaved(audio.data() + done * 2, piece);
            done += piece;
        }
        pipeline.endCapture();
        pipeline.waitUntilDrained();
        file->closeFile();
        cpuPercent = (processCpuSeconds() - before) / 60.0 * 100.0;
    }
    state.counters["cpu_percent_of_one_core"] = cpuPercent;
}
BENCHMARK(BM_RecordingSixtySecondsMQ)->Iterations(1)->Unit(benchmark::kMillisecond);

// Tape-speed playback: one second of output rendered at each transport speed, the work the
// output callback does (decoding ahead happens on the worker, counted in the process's CPU).
void BM_PlaybackAtSpeed(benchmark::State& state)
{
    const double speed = double(state.range(0));
    state.SetLabel("speed " + std::to_string(state.range(0)));
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("tape.m4a"));
    {
        VORLExtendedAudioFile file(
            path, RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true), 128000, kRate);
        const std::vector<float> audio = programme(20.0);
        file.writeFrames(audio.data(), audio.size() / 2);
        file.closeFile();
    }
    VarispeedSource source(std::make_unique<AudioFileReader>(path));
    std::vector<float> block(512 * 2);
    double cpu = 0.0;
    for (auto _ : state) {
        source.setSpeed(speed);
        source.setPosition(speed < 0 ? source.totalFrames() : 0);
        const double before = processCpuSeconds();
        for (size_t out = 0; out < size_t(kRate); out += 512) {
            const size_t need = size_t(512 * std::abs(speed)) + 1024;
            while (source.bufferedFrames() < need && !source.decodedToEnd())
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            source.render(block.data(), 512);
        }
        cpu += processCpuSeconds() - before;
    }
    state.counters["cpu_percent_of_one_core"] = cpu / double(state.iterations()) * 100.0;
}
BENCHMARK(BM_PlaybackAtSpeed)->Arg(1)->Arg(2)->Arg(-2)->Arg(8)->Arg(-8)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
