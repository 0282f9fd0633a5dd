// From the launch of `spindrel record` to the first sample in the file: a
// click is played into the recording input at a known moment after the start, found again in the
// tape, and the time before it in the tape is taken off. Whatever happened before the first
// sample is what the take lost. Run under scripts/with-test-services (the sink "mic" feeds the
// default input). SPINDREL_BENCH_DEVICE records (and listens) on another input;
// SPINDREL_BENCH_BINARY runs another recorder with the same arguments.
#include "ClickOnInput.h"

#include <QCoreApplication>
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <pulse/simple.h>
#include <thread>
#include <vector>

using namespace spindrel;
using namespace spindrel::bench;

namespace {

constexpr double kClickAfterMs = 1500.0; // well after any start, well before the end
// A live input runs all the time, as a microphone does; the sound server takes a moment to start
// the first stream on it.
constexpr double kWarmUpMs = 3000.0;
double gCommandMs = 0.0;

// SPINDREL_BENCH_DEVICE records from another input than the default one.
QStringList extraArguments()
{
    const QString device = qEnvironmentVariable("SPINDREL_BENCH_DEVICE");
    return device.isEmpty() ? QStringList() : QStringList{QStringLiteral("--device"), device};
}

QString onlyTapeIn(const QString& folder)
{
    const QStringList tapes = QDir(folder).entryList({QStringLiteral("*.m4a")}, QDir::Files);
    return tapes.size() == 1 ? QDir(folder).filePath(tapes.first()) : QString();
}

// The start-up a take lost: how long after the start the click was heard, less how far into the
// tape it is.
bool lostBeforeFirstSample(benchmark::State& state, const QString& folder, double clickedAt, double* lost)
{
    const QString tape = onlyTapeIn(folder);
    if (tape.isEmpty() || clickedAt < 0.0) {
        state.SkipWithError("no tape, or no click played");
        return false;
    }
    const double inTape = clickInTape(tape);
    if (inTape < 0.0) {
        state.SkipWithError("the click is not in the tape: the capture started after it");
        return false;
    }
    *lost = clickedAt - inTape;
    return true;
}

void BM_LaunchToFirstSample_RecordCommand(benchmark::State& state)
{
    double total = 0.0;
    int runs = 0;
    for (auto _ : state) {
        QTemporaryDir folder;
        QProcess record;
        record.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        const double started = nowMilliseconds() + kWarmUpMs;
        Click click(started, started + kClickAfterMs, qgetenv("SPINDREL_BENCH_DEVICE"));
        std::this_thread::sleep_for(std::chrono::milliseconds(int(kWarmUpMs)));
        record.start(qEnvironmentVariable("SPINDREL_BENCH_BINARY", QStringLiteral(SPINDREL_BINARY)),
                     QStringList{QStringLiteral("record"), QStringLiteral("--seconds"), QStringLiteral("2.5"),
                                 QStringLiteral("--folder"), folder.path()} +
                         extraArguments());
        record.waitForFinished(60000);
        const double clickedAt = click.finish();
        double lost = 0.0;
        if (!lostBeforeFirstSample(state, folder.path(), clickedAt, &lost))
            return;
        state.SetIterationTime(lost / 1000.0);
        total += lost;
        ++runs;
    }
    gCommandMs = total / runs;
}
BENCHMARK(BM_LaunchToFirstSample_RecordCommand)
    ->UseManualTime()
    ->Iterations(5)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (gCommandMs > 0.0)
        std::printf("capture start: record command %.1f ms (goal 300 ms): ratio %.2f of the goal\n",
                    gCommandMs, gCommandMs / 300.0);
    benchmark::Shutdown();
    return 0;
}
