// The latency play-through adds: an impulse played into the input device, found again on the
// output device's monitor. Run under scripts/with-test-services (sinks "mic" and "spk").
#include "audio/CAPlayThrough.h"
#include "audio/CAPlayThroughHost.h"
#include "audio/VORLAudioPlaythroughManager.h"

#include <QCoreApplication>
#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <pthread.h>
#include <pulse/simple.h>
#include <sched.h>
#include <thread>
#include <vector>

using namespace spindrel;

namespace {

constexpr uint32_t kRate = 44100;
double gAddedMs = -1.0;
// The soak's glitches against the machine's own stalls, for the closing line.
int gSoakSeconds = 0, gSoakGlitches = 0, gSoakStalls = 0;

double nowMilliseconds()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

pa_simple* openStream(pa_stream_direction_t direction, const char* device, double latencyMs)
{
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, kRate, 1};
    const uint32_t bytes = uint32_t(pa_usec_to_bytes(pa_usec_t(latencyMs * 1000), &format));
    pa_buffer_attr attributes{uint32_t(-1), bytes, uint32_t(-1), uint32_t(-1), bytes};
    int error = 0;
    return pa_simple_new(nullptr, "bench_playthrough", direction, device, "impulse", &format, nullptr,
                         &attributes, &error);
}

// Plays silence into "mic" with an impulse after 0.75 s and then every `interval` blocks of 5 ms,
// and says when each impulse reached the sink.
std::vector<double> playImpulses(std::atomic<bool>& stop, int interval)
{
    std::vector<double> played;
    pa_simple* stream = openStream(PA_STREAM_PLAYBACK, "mic", 5.0);
    if (!stream)
        return played;
    std::vector<float> block(kRate / 200, 0.0f); // 5 ms
    for (int written = 0; !stop.load(); ++written) {
        const bool impulse = written >= 150 && (written - 150) % interval == 0;
        block.assign(block.size(), 0.0f);
        if (impulse) {
            for (size_t i = 0; i < 44; ++i)
                block[i] = 0.9f;
        }
        int error = 0;
        if (impulse)
            played.push_back(nowMilliseconds() + double(pa_simple_get_latency(stream, &error)) / 1000.0);
        if (pa_simple_write(stream, block.data(), block.size() * sizeof(float), &error) < 0)
            break;
    }
    pa_simple_free(stream);
    return played;
}

// Listens on "spk.monitor" and says when each impulse was played there.
std::vector<double> findImpulses(std::atomic<bool>& stop)
{
    std::vector<double> found;
    pa_simple* stream = openStream(PA_STREAM_RECORD, "spk.monitor", 5.0);
    if (!stream)
        return found;
    std::vector<float> block(kRate / 200);
    while (!stop.load()) {
        int error = 0;
        if (pa_simple_read(stream, block.data(), block.size() * sizeof(float), &error) < 0)
            break;
        // The block's first frame was played this long before the read returned.
        const double blockStart = nowMilliseconds() - double(pa_simple_get_latency(stream, &error)) / 1000.0 -
                                  double(block.size()) * 1000.0 / kRate;
        for (size_t i = 0; i < block.size(); ++i) {
            const double at = blockStart + double(i) * 1000.0 / kRate;
            // An impulse is 1 ms long: the rest of it is not another one.
            if (std::fabs(block[i]) > 0.3f && (found.empty() || at - found.back() > 100.0)) {
                found.push_back(at);
                break;
            }
        }
    }
    pa_simple_free(stream);
    return found;
}

// How long after it was played each impulse was heard; -1 for one never heard. Impulses played
// in the last half second before `stoppedAt` may not have come through yet and are left out.
std::vector<double> throughLatencies(const std::vector<double>& played, const std::vector<double>& found,
                                     double stoppedAt)
{
    std::vector<double> latencies;
    for (const double at : played) {
        if (at > stoppedAt - 500.0)
            break;
        const auto heard = std::find_if(found.begin(), found.end(), [at](double time) { return time >= at; });
        latencies.push_back(heard != found.end() && *heard - at < 500.0 ? *heard - at : -1.0);
    }
    return latencies;
}

// The times a thread asleep for 1 ms woke more than 4 ms late, at real-time priority where the
// system allows it: stalls of the machine itself, which no buffer shorter than them rides out.
struct Stalls
{
    int count = 0;
    double longestMs = 0.0;
};

Stalls countStalls(const std::atomic<bool>& watching)
{
    sched_param priority{};
    priority.sched_priority = 1;
    pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority);
    Stalls stalls;
    while (watching.load()) {
        const double before = nowMilliseconds();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const double late = nowMilliseconds() - before - 1.0;
        if (late > 4.0)
            ++stalls.count;
        stalls.longestMs = std::max(stalls.longestMs, late);
    }
    return stalls;
}

void BM_PlayThroughAddedLatency(benchmark::State& state)
{
    double added = 0.0, measured = 0.0, streams = 0.0;
    int underflows = 0, missed = 0;
    int runs = 0;
    for (auto _ : state) {
        VORLAudioPlaythroughManager manager(QStringLiteral("vmic"), QStringLiteral("spk"), {});
        manager.start();
        // Idle null sinks take a while to wake; the offset settles meanwhile.
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        std::atomic<bool> stop{false};
        std::vector<double> found;
        std::vector<double> played;
        std::thread listener([&] { found = findImpulses(stop); });
        std::thread player([&] { played = playImpulses(stop, 1 << 30); });
        std::this_thread::sleep_for(std::chrono::milliseconds(2000));
        const double streamLatency = manager.playThroughHost()->playThrough()->streamLatencyMilliseconds();
        const CAPlayThrough* engine = manager.playThroughHost()->playThrough();
        underflows += engine->outputUnderflows();
        missed += engine->timeline().missedFetches();
        const double stoppedAt = nowMilliseconds();
        stop.store(true);
        player.join();
        listener.join();
        const std::vector<double> through = throughLatencies(played, found, stoppedAt);
        if (through.empty() || through.front() < 0.0) {
            state.SkipWithError("the impulse did not come through");
            return;
        }
        const double latency = through.front();
        state.SetIterationTime((latency - streamLatency) / 1000.0);
        added += latency - streamLatency;
        measured += latency;
        streams += streamLatency;
        ++runs;
    }
    state.counters["through_ms"] = measured / runs;
    state.counters["streams_ms"] = streams / runs;
    state.counters["added_ms"] = added / runs;
    gAddedMs = added / runs;
    state.counters["underflows"] = underflows;
    state.counters["missed_cycles"] = missed;
}
BENCHMARK(BM_PlayThroughAddedLatency)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

// Play-through left running while sound goes through it (SPINDREL_BENCH_SOAK_SECONDS, 60 by
// default; 600 for the ten-minute run): the output's underflows at the server and the cycles the
// timeline had nothing for, after the start-up second.
void BM_PlayThroughGlitches(benchmark::State& state)
{
    const int seconds = qEnvironmentVariableIntValue("SPINDREL_BENCH_SOAK_SECONDS") > 0
                            ? qEnvironmentVariableIntValue("SPINDREL_BENCH_SOAK_SECONDS")
                            : 60;
    int underflows = 0, missed = 0;
    double first = -1.0, last = -1.0, longest = -1.0;
    int unheard = 0;
    Stalls stalls;
    for (auto _ : state) {
        VORLAudioPlaythroughManager manager(QStringLiteral("vmic"), QStringLiteral("spk"), {});
        manager.start();
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        std::atomic<bool> stop{false};
        std::vector<double> played;
        std::vector<double> found;
        std::thread listener([&] { found = findImpulses(stop); });
        std::thread player([&] { played = playImpulses(stop, 1000); }); // one every 5 s
        const CAPlayThrough* engine = manager.playThroughHost()->playThrough();
        std::atomic<bool> watching{true};
        std::thread watcher([&] { stalls = countStalls(watching); });
        const int underflowsBefore = engine->outputUnderflows();
        const int missedBefore = engine->timeline().missedFetches();
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        underflows = engine->outputUnderflows() - underflowsBefore;
        missed = engine->timeline().missedFetches() - missedBefore;
        const double stoppedAt = nowMilliseconds();
        stop.store(true);
        player.join();
        listener.join();
        watching.store(false);
        watcher.join();
        // The latency must not creep up over the run: the first impulse, the last and the longest.
        for (const double latency : throughLatencies(played, found, stoppedAt)) {
            if (latency < 0.0) {
                ++unheard;
                continue;
            }
            if (first < 0.0)
                first = latency;
            last = latency;
            longest = std::max(longest, latency);
        }
    }
    state.counters["seconds"] = seconds;
    state.counters["underflows"] = underflows;
    state.counters["missed_cycles"] = missed;
    state.counters["through_first_ms"] = first;
    state.counters["through_last_ms"] = last;
    state.counters["through_max_ms"] = longest;
    state.counters["impulses_lost"] = unheard;
    state.counters["machine_stalls"] = stalls.count;
    state.counters["longest_stall_ms"] = stalls.longestMs;
    gSoakSeconds = seconds;
    gSoakGlitches = underflows + missed;
    gSoakStalls = stalls.count;
}
BENCHMARK(BM_PlayThroughGlitches)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    if (gAddedMs >= 0.0)
        std::printf("play-through added latency %.1f ms (goal 10 ms): ratio %.2f of the goal\n", gAddedMs,
                    gAddedMs / 10.0);
    if (gSoakSeconds > 0)
        std::printf("play-through over %d s: %d underflows and missed cycles (goal 0), while the machine "
                    "stalled %d times\n",
                    gSoakSeconds, gSoakGlitches, gSoakStalls);
    benchmark::Shutdown();
    return 0;
}
