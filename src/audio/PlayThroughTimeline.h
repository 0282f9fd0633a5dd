#pragma once

#include "audio/PlayThroughRingBuffer.h"

#include <atomic>
#include <cstdint>

namespace spindrel {

/// The meeting point of the play-through's two sides, which share one clock: the input side stores
/// frames at the times they were captured, the output side fetches the frames for the time they
/// will be heard. A frame is heard a sample offset after its capture; the offset starts from both
/// devices' latencies and grows in steps of at least 128 frames whenever a fetch finds its frames
/// not yet there, and starts again when it has grown past what the buffer keeps.
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
    /// Forgets the input and any growth of the offset, for a fresh start of both sides.
    void reset();

    /// Input thread.
    PlayThroughRingBuffer::Result storeInput(const float* const* channels, uint32_t frames,
                                             double sampleTime);

    /// Output thread: has any input arrived since the last reset?
    bool hasInput() const { return mHasInput.load(std::memory_order_acquire); }
    /// Output thread: fills `frames` frames per channel for the output sample time, or silence
    /// (before any input, and when the fetch left the buffered range, which also corrects the
    /// offset). True when real frames came out.
    bool fetchOutput(float* const* channels, uint32_t frames, double sampleTime);

    /// Output thread: the sample time just after the newest input frame, or NaN before any.
    double newestInputTime() const;
    /// Output thread: how far the offset has grown past the devices' latency.
    double excessFrames() const { return mInToOutSampleOffset - mLatencyFrames; }
    /// Output thread: takes up to `frames` off the growth, as an output side that reads its input
    /// slightly faster than it plays moves its times on by that much less than it reads.
    void shortenOffset(double frames);

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
    // Set by the input side after a reset, read by the output side.
    std::atomic<bool> mHasInput{false};
    // The output side's own.
    double mInToOutSampleOffset = 0.0;
    std::atomic<int> mMissedFetches{0};
};

} // namespace spindrel
