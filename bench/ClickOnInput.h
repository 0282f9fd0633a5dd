#pragma once

// A click played into the recording input at a known moment, and found again in a tape: how
// much of a take a recorder's start lost. Run under scripts/with-test-services, where the sink
// "mic" feeds the inputs.
#include "audio/AudioFileReader.h"

#include <QByteArray>
#include <QString>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <pulse/simple.h>
#include <thread>
#include <vector>

namespace spindrel::bench {

constexpr uint32_t kRate = 44100;

inline double nowMilliseconds()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

inline pa_simple* openStream(pa_stream_direction_t direction, const char* device)
{
    const pa_sample_spec format{PA_SAMPLE_FLOAT32NE, kRate, 1};
    const uint32_t bytes = uint32_t(pa_usec_to_bytes(5000, &format));
    const pa_buffer_attr attributes{uint32_t(-1), bytes, uint32_t(-1), uint32_t(-1), bytes};
    int error = 0;
    return pa_simple_new(nullptr, "bench_capture_start", direction, device, "click", &format, nullptr,
                         &attributes, &error);
}

// Plays silence into "mic" from now on, with one click at `clickAt` (steady clock, ms), and listens
// to the input the recording takes: says when the click was there, which is when a recorder
// running at that moment captured it.
class Click
{
public:
    /// `start` (steady clock, ms) is the moment the take is asked for; finish() says how long
    /// after it the click was in the input.
    Click(double start, double clickAt, const QByteArray& input) : mStart(start)
    {
        mPlayer = std::thread([this, clickAt] { play(clickAt); });
        mListener = std::thread([this, input] { mHeardAt = listen(input); });
    }
    ~Click() { finish(); }
    double finish()
    {
        mStop.store(true);
        for (std::thread* thread : {&mPlayer, &mListener}) {
            if (thread->joinable())
                thread->join();
        }
        return mHeardAt;
    }

private:
    void play(double clickAt)
    {
        pa_simple* stream = openStream(PA_STREAM_PLAYBACK, "mic");
        if (!stream)
            return;
        std::vector<float> block(kRate / 200); // 5 ms
        bool clicked = false;
        while (!mStop.load()) {
            block.assign(block.size(), 0.0f);
            if (!clicked && nowMilliseconds() >= clickAt) {
                for (size_t i = 0; i < 44; ++i)
                    block[i] = 0.9f;
                clicked = true;
            }
            int error = 0;
            if (pa_simple_write(stream, block.data(), block.size() * sizeof(float), &error) < 0)
                break;
        }
        pa_simple_free(stream);
    }

    double listen(const QByteArray& input)
    {
        pa_simple* stream = openStream(PA_STREAM_RECORD, input.isEmpty() ? nullptr : input.constData());
        if (!stream)
            return -1.0;
        // Positions in this stream, which runs without a break, are the time line: the start is
        // placed on it from a quiet moment (the listener has been running a while), the click is
        // found on it, and the server's timing reports during the start do not count.
        std::vector<float> block(kRate / 200);
        int64_t read = 0;
        bool placed = false;
        double heardAt = -1.0;
        while (!mStop.load()) {
            int error = 0;
            if (pa_simple_read(stream, block.data(), block.size() * sizeof(float), &error) < 0)
                break;
            const double now = nowMilliseconds();
            if (!placed && now >= mStart.load()) {
                placed = true;
                const double latencyMs = double(pa_simple_get_latency(stream, &error)) / 1000.0;
                mStartPosition =
                    read + int64_t(double(block.size()) - (now - mStart.load() + latencyMs) * kRate / 1000.0);
            }
            for (size_t i = 0; heardAt < 0.0 && placed && i < block.size(); ++i) {
                if (std::fabs(block[i]) > 0.3f)
                    heardAt = double(read + int64_t(i) - mStartPosition) * 1000.0 / kRate;
            }
            read += int64_t(block.size());
        }
        pa_simple_free(stream);
        return heardAt;
    }

    std::atomic<bool> mStop{false};
    std::atomic<double> mStart;
    int64_t mStartPosition = 0;
    double mHeardAt = -1.0;
    std::thread mPlayer;
    std::thread mListener;
};

// Milliseconds into the tape of the first loud sample; negative when there is none.
inline double clickInTape(const QString& path)
{
    AudioFileReader reader(path);
    const int channels = reader.channels();
    std::vector<float> block(size_t(4096) * size_t(channels));
    for (int64_t at = 0; at < reader.totalFrames(); at += 4096) {
        const int64_t got = reader.read(at, 4096, block.data());
        for (int64_t i = 0; i < got * channels; ++i) {
            if (std::fabs(block[size_t(i)]) > 0.3f)
                return double(at + i / channels) * 1000.0 / reader.sampleRate();
        }
        if (got <= 0)
            break;
    }
    return -1.0;
}

} // namespace spindrel::bench
