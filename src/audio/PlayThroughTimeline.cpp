#include "audio/PlayThroughTimeline.h"

#include <algorithm>
#include <cstring>

namespace spindrel {

bool PlayThroughTimeline::prepare(int channels, uint32_t inputBufferFrames, double latencyFrames)
{
    mChannels = channels;
    mLatencyFrames = latencyFrames;
    mInToOutSampleOffset = latencyFrames;
    reset();
    return mBuffer.allocate(channels, sizeof(float), inputBufferFrames * 20);
}

void PlayThroughTimeline::reset()
{
    mFirstInputTime.store(-1.0, std::memory_order_release);
    mFirstOutputTime = -1.0;
    mMissedFetches.store(0, std::memory_order_relaxed);
}

// Runs on the input thread.
PlayThroughRingBuffer::Result PlayThroughTimeline::storeInput(const float* const* channels, uint32_t frames,
                                                              double sampleTime)
{
    if (mFirstInputTime.load(std::memory_order_relaxed) < 0.0)
        mFirstInputTime.store(sampleTime, std::memory_order_release);
    return mBuffer.store(reinterpret_cast<const void* const*>(channels), frames,
                         PlayThroughRingBuffer::SampleTime(sampleTime));
}

void PlayThroughTimeline::silence(float* const* channels, uint32_t frames) const
{
    for (int channel = 0; channel < mChannels; ++channel)
        std::memset(channels[channel], 0, sizeof(float) * frames);
}

// Runs on the output thread.
bool PlayThroughTimeline::fetchOutput(float* const* channels, uint32_t frames, double sampleTime)
{
    const double firstInputTime = mFirstInputTime.load(std::memory_order_acquire);
    if (firstInputTime < 0.0) {
        silence(channels, frames);
        return false;
    }
    if (mFirstOutputTime < 0.0) {
        mFirstOutputTime = sampleTime;
        mInToOutSampleOffset = mLatencyFrames - (firstInputTime - mFirstOutputTime);
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
    double behind = 0.0;
    if (result < 0)
        behind = readTime - double(start);
    else
        behind = readTime + double(frames) - double(end);
    mInToOutSampleOffset += std::max(kMinimumCorrectionFrames, behind);
    mMissedFetches.fetch_add(1, std::memory_order_relaxed);
    silence(channels, frames);
    return false;
}

} // namespace spindrel
