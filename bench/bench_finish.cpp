// What ending a long recording costs: a 20-minute "MQ" take, as the recorder leaves it in
// fragments, finished where it lies, against the copy that the remux writes.
#include "RatioReporter.h"
#include "audio/MP4InPlaceFinisher.h"
#include "audio/MP4Remuxer.h"
#include "audio/RecordingPresets.h"
#include "audio/RecordingRecovery.h"
#include "audio/VORLExtendedAudioFile.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdio>
#include <fcntl.h>
#include <numbers>
#include <unistd.h>
#include <vector>

using namespace spindrel;

namespace {

constexpr double kRate = 44100.0;
constexpr int kMinutes = 20;

struct Figures
{
    double milliseconds = 0.0;
    double extraBytes = 0.0;
};
Figures gInPlace;
Figures gRemux;

QTemporaryDir& folder()
{
    static QTemporaryDir dir;
    return dir;
}

// The take as a crash or a stop finds it: every fragment on the disk, under the in-progress name.
const QString& fragmentedTake()
{
    static const QString path = [] {
        const QString recording = folder().filePath(QStringLiteral("take.m4a"));
        VORLExtendedAudioFile file(recording,
                                   RecordingPresets::streamDescriptionForQuality(QStringLiteral("MQ"), true),
                                   128000, kRate);
        std::vector<float> second(size_t(kRate) * 2);
        for (int s = 0; s < kMinutes * 60; ++s) {
            for (size_t i = 0; i < second.size() / 2; ++i) {
                const double t = s + double(i) / kRate;
                const float v = float(0.3 * std::sin(2.0 * std::numbers::pi * (220.0 + s % 7 * 30.0) * t));
                second[2 * i] = v;
                second[2 * i + 1] = v;
            }
            file.writeFrames(second.data(), second.size() / 2);
        }
        const QString kept = folder().filePath(QStringLiteral("fragments"));
        QFile::copy(RecordingRecovery::inProgressPath(recording), kept);
        file.closeFile();
        QFile::remove(recording);
        return kept;
    }();
    return path;
}

template <bool inPlace> void BM_FinishTwentyMinutesMQ(benchmark::State& state)
{
    const QString source = fragmentedTake();
    const QString inProgress =
        folder().filePath(QStringLiteral("finish.m4a") + RecordingRecovery::inProgressSuffix());
    const QString tape = folder().filePath(QStringLiteral("finish.m4a"));
    const double recorded = double(QFileInfo(source).size());
    double used = 0.0;
    for (auto _ : state) {
        state.PauseTiming();
        QFile::remove(tape);
        QFile::remove(inProgress);
        QFile::copy(source, inProgress);
        ::sync();
        state.ResumeTiming();
        if constexpr (inPlace) {
            const int fd = ::open(QFile::encodeName(inProgress).constData(), O_RDWR | O_CLOEXEC);
            const auto result = MP4InPlaceFinisher::finish(fd, inProgress, tape, MP4Remuxer::kPrimingByCodec);
            ::close(fd);
            if (result.outcome != MP4InPlaceFinisher::Outcome::Ordinary)
                state.SkipWithError(result.message.toUtf8().constData());
            used = double(QFileInfo(tape).size()) - recorded;
        } else {
            QString error;
            if (!MP4Remuxer::writeOrdinaryFile(inProgress, -1, tape, MP4Remuxer::kPrimingByCodec, &error))
                state.SkipWithError(error.toUtf8().constData());
            // The copy is the whole take again until the fragments are let go of.
            used = double(QFileInfo(tape).size());
            QFile::remove(inProgress);
        }
    }
    state.counters["extra_disk_MB"] = used / 1e6;
    state.counters["take_MB"] = recorded / 1e6;
    Figures& figures = inPlace ? gInPlace : gRemux;
    figures.extraBytes = used;
}

} // namespace

BENCHMARK(BM_FinishTwentyMinutesMQ<true>)
    ->Name("BM_FinishInPlace_20minMQ")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);
BENCHMARK(BM_FinishTwentyMinutesMQ<false>)
    ->Name("BM_FinishByCopy_20minMQ")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(5);

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    return spindrel::bench::runBenchmarks(argc, argv, [](const spindrel::bench::RatioReporter& reporter) {
        const auto* inPlace = reporter.find("BM_FinishInPlace_20minMQ");
        const auto* byCopy = reporter.find("BM_FinishByCopy_20minMQ");
        gInPlace.milliseconds = inPlace ? inPlace->GetAdjustedRealTime() : 0.0;
        gRemux.milliseconds = byCopy ? byCopy->GetAdjustedRealTime() : 0.0;
        if (gInPlace.milliseconds > 0.0 && gRemux.milliseconds > 0.0)
            std::printf(
                "finish 20 min MQ: in place %.1f ms and %.2f MB more on the disk, by copy %.1f ms and "
                "%.2f MB more: ratio %.1f (time)\n",
                gInPlace.milliseconds, gInPlace.extraBytes / 1e6, gRemux.milliseconds,
                gRemux.extraBytes / 1e6, gRemux.milliseconds / gInPlace.milliseconds);
    });
}
