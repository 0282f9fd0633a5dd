#pragma once

#include "audio/PlayThroughRingBuffer.h"

#include <atomic>
#include <cstdint>

namespace spindrel {

/// The meeting point of the play-through's two sides: the input side stores frames at their
/// input sample times, the output side fetches them later by a sample offset that starts from
/// both devices' latencies and the skew of their first cycles, and grows in steps of at least
/// 128 frames whenever a fetch falls outside the buffered range.
///
/// storeInput() runs on the input thread, fetchOutput() on the output thread; neither
/// allocates, locks or waits. prepare() and reset() run while neither side does.
class PlayThroughTimeline
{
public:
    static constexpr double kMinimumCorrectionFrames = 128.0;

    /// `latencyFrames`: both devices' safety offsets and buffer sizes added up. The ring buffer
    /// holds 20 input buffers, rounded up to a power of two. False when it could not be made.
    bool prepare(int channels, uint32_t inputBufferFrames, double latencyFrames);
    /// Forgets the first times, so the next cycles measure the skew afresh.
    void reset();

    /// Input thread: the first frames seen set the first input time.
    PlayThroughRingBuffer::Result storeInput(const float* const* channels, uint32_t frames,
                                             double sampleTime);

    /// Output thread: has any input arrived since the last reset?
    bool hasInput() const { return mFirstInputTime.load(std::memory_order_acquire) >= 0.0; }
    /// Output thread: fills `frames` frames per channel for the output sample time, or silence
    /// (before any input, in the first output cycle, and when the fetch left the buffered range,
    /// which also corrects the offset). True when real frames came out.
    bool fetchOutput(float* const* channels, uint32_t frames, double sampleTime);

    double firstInputTime() const { return mFirstInputTime.load(std::memory_order_acquire); }
    double firstOutputTime() const { return mFirstOutputTime; }
    double inToOutSampleOffset() const { return mInToOutSampleOffset; }
    double latencyFrames() const { return mLatencyFrames; }
    /// Fetches since the last reset that found their frames gone or not yet there: each is a
    /// cycle of silence, heard as a click.
    int missedFetches() const { return mMissedFetches.load(std::memory_order_relaxed); }
    int numberOfChannels() const { return mChannels; }
    const PlayThroughRingBuffer& ringBuffer() const { return mBuffer; }

private:
    void silence(float* const* channels, uint32_t frames) const;

    PlayThroughRingBuffer mBuffer;
    int mChannels = 0;
    double mLatencyFrames = 0.0;
    // Written once by the input side after a reset, read by the output side.
    std::atomic<double> mFirstInputTime{-1.0};
    // The output side's own.
    double mFirstOutputTime = -1.0;
    double mInToOutSampleOffset = 0.0;
    std::atomic<int> mMissedFetches{0};
};

} // namespace spindrel
