#include "audio/PlayThroughTimeline.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace spindrel {

bool PlayThroughTimeline::prepare(int channels, uint32_t inputBufferFrames, double latencyFrames)
{
    mChannels = channels;
    mLatencyFrames = latencyFrames;
    reset();
    return mBuffer.allocate(channels, sizeof(float), inputBufferFrames * 20);
}

void PlayThroughTimeline::reset()
{
    mHasInput.store(false, std::memory_order_release);
    mInToOutSampleOffset = mLatencyFrames;
    mMissedFetches.store(0, std::memory_order_relaxed);
}

// Runs on the input thread.
PlayThroughRingBuffer::Result PlayThroughTimeline::storeInput(const float* const* channels, uint32_t frames,
                                                              double sampleTime)
{
    const auto result = mBuffer.store(reinterpret_cast<const void* const*>(channels), frames,
                                      PlayThroughRingBuffer::SampleTime(sampleTime));
    mHasInput.store(true, std::memory_order_release);
    return result;
}

double PlayThroughTimeline::newestInputTime() const
{
    PlayThroughRingBuffer::SampleTime start = 0;
    PlayThroughRingBuffer::SampleTime end = 0;
    if (!hasInput() || mBuffer.getTimeBounds(start, end) != PlayThroughRingBuffer::OK)
        return std::nan("");
    return double(end);
}

void PlayThroughTimeline::shortenOffset(double frames)
{
    mInToOutSampleOffset = std::max(mLatencyFrames, mInToOutSampleOffset - frames);
}

void PlayThroughTimeline::silence(float* const* channels, uint32_t frames) const
{
    for (int channel = 0; channel < mChannels; ++channel)
        std::memset(channels[channel], 0, sizeof(float) * frames);
}

// Runs on the output thread.
bool PlayThroughTimeline::fetchOutput(float* const* channels, uint32_t frames, double sampleTime)
{
    if (!hasInput()) {
        silence(channels, frames);
        return false;
    }
    const double readTime = sampleTime - mInToOutSampleOffset;
    const auto result = mBuffer.fetch(reinterpret_cast<void* const*>(channels), frames,
                                      PlayThroughRingBuffer::SampleTime(readTime));
    if (result == PlayThroughRingBuffer::OK)
        return true;
    PlayThroughRingBuffer::SampleTime start = 0;
    PlayThroughRingBuffer::SampleTime end = 0;
    mBuffer.getTimeBounds(start, end);
    if (result < 0) {
        // The offset outgrew what the buffer keeps, after long stalls of the input: growing it
        // further would miss every cycle from now on. Start again from the devices' latency, or
        // from the newest frames when even that reads before what is kept.
        mInToOutSampleOffset = sampleTime - mLatencyFrames >= double(start)
                                   ? mLatencyFrames
                                   : sampleTime + double(frames) - double(end);
    } else {
        const double behind = readTime + double(frames) - double(end);
        mInToOutSampleOffset += std::max(kMinimumCorrectionFrames, behind);
    }
    mMissedFetches.fetch_add(1, std::memory_order_relaxed);
    silence(channels, frames);
    return false;
}

} // namespace spindrel
