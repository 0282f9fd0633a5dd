#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace spindrel {

/// Multi-channel, non-interleaved frames indexed by sample time, between one writer thread (the
/// input side) and one reader thread (the output side). The valid range [start, end) is published
/// through a small queue of time bounds, so neither side ever waits for the other, allocates or
/// locks after allocate(). The writer overwrites the oldest frames when it runs ahead.
///
/// Sample memory is read and written as relaxed 32-bit atomics: the reader may still be copying
/// frames the writer is about to overwrite, which is harmless for audio but must not be undefined.
class PlayThroughRingBuffer
{
public:
    using SampleTime = int64_t;

    // Results of store() and fetch(); the clip codes say where a fetch left the valid range.
    enum Result : int {
        OK = 0,
        EndClipped = 1,       // the request ran past the end
        EntirelyAfter = 2,    // the request lies after the end: nothing to copy
        StartClipped = -1,    // the request began before the start
        EntirelyBefore = -2,  // the request lies before the start: nothing to copy
        BothClipped = 3,      // the request covers the range and more on both sides
        TooMuch = 3,          // store(): more frames than the capacity
        ProcessorOverload = 4 // the bounds changed under every attempt to read them
    };

    PlayThroughRingBuffer() = default;
    ~PlayThroughRingBuffer();
    PlayThroughRingBuffer(const PlayThroughRingBuffer&) = delete;
    PlayThroughRingBuffer& operator=(const PlayThroughRingBuffer&) = delete;

    /// Makes room for `capacityFrames` (rounded up to a power of two) frames of `bytesPerFrame`
    /// bytes (a multiple of 4) per channel, all zero, and empties the time bounds. False, with
    /// nothing allocated, when the memory cannot be had or the sizes are unusable.
    bool allocate(int channels, uint32_t bytesPerFrame, uint32_t capacityFrames);
    void deallocate();

    int numberOfChannels() const { return mNumberChannels; }
    uint32_t bytesPerFrame() const { return mBytesPerFrame; }
    uint32_t capacityFrames() const { return mCapacityFrames; }

    /// Writer: copies `frames` frames from one buffer per channel to the sample time `time`. A time
    /// before the current end starts the range afresh there (a jump back); a gap after the end
    /// is filled with silence. Returns OK or TooMuch.
    Result store(const void* const* buffers, uint32_t frames, SampleTime time);

    /// Reader: copies `frames` frames starting at `time` into one buffer per channel; the parts
    /// outside the valid range come out as silence. Returns the clip code (OK when all was there).
    Result fetch(void* const* buffers, uint32_t frames, SampleTime time) const;

    /// Either side: the valid range, or ProcessorOverload when it could not be read consistently.
    Result getTimeBounds(SampleTime& start, SampleTime& end) const;

private:
    static constexpr uint32_t kQueueSize = 32;
    static constexpr uint32_t kQueueMask = kQueueSize - 1;
    static constexpr int kGetBoundsTries = 8;

    struct TimeBounds
    {
        std::atomic<SampleTime> startTime{0};
        std::atomic<SampleTime> endTime{0};
        std::atomic<uint32_t> updateCounter{0};
    };

    void setTimeBounds(SampleTime start, SampleTime end);
    Result clipTimeBounds(SampleTime& start, SampleTime& end) const;
    // Byte offset of a sample time in each channel's buffer.
    size_t frameOffset(SampleTime time) const { return size_t(time & mCapacityFramesMask) * mBytesPerFrame; }
    void zeroRange(size_t offset, size_t bytes);
    void storeRange(size_t offset, const void* const* buffers, size_t sourceOffset, size_t bytes);
    void fetchRange(void* const* buffers, size_t destinationOffset, size_t offset, size_t bytes) const;

    uint8_t** mBuffers = nullptr; // one per channel, in the same allocation as the pointers
    int mNumberChannels = 0;
    uint32_t mBytesPerFrame = 0;
    uint32_t mCapacityFrames = 0;
    uint32_t mCapacityFramesMask = 0;
    uint32_t mCapacityBytes = 0;

    TimeBounds mTimeBoundsQueue[kQueueSize];
    std::atomic<uint32_t> mTimeBoundsQueueCurrentIndex{0};
};

} // namespace spindrel
