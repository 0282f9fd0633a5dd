#include "audio/PlayThroughRingBuffer.h"

#include "foundation/Assertion.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>

namespace spindrel {

namespace {

uint32_t nextPowerOfTwo(uint32_t value)
{
    uint32_t power = 1;
    while (power < value)
        power <<= 1;
    return power;
}

// Sample memory is only touched through these, as whole 32-bit words.
inline void storeWord(uint8_t* at, uint32_t word)
{
    std::atomic_ref<uint32_t>(*reinterpret_cast<uint32_t*>(at)).store(word, std::memory_order_relaxed);
}

inline uint32_t loadWord(const uint8_t* at)
{
    return std::atomic_ref<uint32_t>(*reinterpret_cast<uint32_t*>(const_cast<uint8_t*>(at)))
        .load(std::memory_order_relaxed);
}

} // namespace

PlayThroughRingBuffer::~PlayThroughRingBuffer()
{
    deallocate();
}

bool PlayThroughRingBuffer::allocate(int channels, uint32_t bytesPerFrame, uint32_t capacityFrames)
{
    deallocate();
    SP_VERIFY_OR_DEBUG_ASSERT(channels > 0 && bytesPerFrame > 0 && bytesPerFrame % 4 == 0 &&
                                  capacityFrames > 0,
                              "Ring buffer allocated without channels, frames or whole 32-bit samples")
    {
        return false;
    }
    capacityFrames = nextPowerOfTwo(capacityFrames);
    const size_t pointersBytes = sizeof(uint8_t*) * size_t(channels);
    const size_t channelBytes = size_t(capacityFrames) * bytesPerFrame;
    void* memory = std::calloc(1, pointersBytes + channelBytes * size_t(channels));
    if (!memory)
        return false;
    mBuffers = static_cast<uint8_t**>(memory);
    uint8_t* data = static_cast<uint8_t*>(memory) + pointersBytes;
    for (int channel = 0; channel < channels; ++channel)
        mBuffers[channel] = data + channelBytes * size_t(channel);
    mNumberChannels = channels;
    mBytesPerFrame = bytesPerFrame;
    mCapacityFrames = capacityFrames;
    mCapacityFramesMask = capacityFrames - 1;
    mCapacityBytes = uint32_t(channelBytes);
    for (TimeBounds& bounds : mTimeBoundsQueue) {
        bounds.startTime.store(0, std::memory_order_relaxed);
        bounds.endTime.store(0, std::memory_order_relaxed);
        bounds.updateCounter.store(0, std::memory_order_relaxed);
    }
    mTimeBoundsQueueCurrentIndex.store(0, std::memory_order_release);
    return true;
}

void PlayThroughRingBuffer::deallocate()
{
    std::free(mBuffers);
    mBuffers = nullptr;
    mNumberChannels = 0;
    mBytesPerFrame = 0;
    mCapacityFrames = 0;
    mCapacityFramesMask = 0;
    mCapacityBytes = 0;
}

void PlayThroughRingBuffer::setTimeBounds(SampleTime start, SampleTime end)
{
    const uint32_t index = mTimeBoundsQueueCurrentIndex.load(std::memory_order_relaxed);
    const uint32_t next = index + 1;
    TimeBounds& bounds = mTimeBoundsQueue[next & kQueueMask];
    // The entry is rewritten like a sequence lock: a reader that overlaps the rewrite sees a
    // counter that does not match and tries again.
    bounds.updateCounter.store(0, std::memory_order_relaxed);
    bounds.startTime.store(start, std::memory_order_release);
    bounds.endTime.store(end, std::memory_order_release);
    bounds.updateCounter.store(next, std::memory_order_release);
    uint32_t expected = index;
    mTimeBoundsQueueCurrentIndex.compare_exchange_strong(expected, next, std::memory_order_seq_cst);
}

PlayThroughRingBuffer::Result PlayThroughRingBuffer::getTimeBounds(SampleTime& start, SampleTime& end) const
{
    for (int attempt = 0; attempt < kGetBoundsTries; ++attempt) {
        const uint32_t index = mTimeBoundsQueueCurrentIndex.load(std::memory_order_acquire);
        const TimeBounds& bounds = mTimeBoundsQueue[index & kQueueMask];
        const uint32_t before = bounds.updateCounter.load(std::memory_order_acquire);
        const SampleTime first = bounds.startTime.load(std::memory_order_acquire);
        const SampleTime last = bounds.endTime.load(std::memory_order_acquire);
        const uint32_t after = bounds.updateCounter.load(std::memory_order_relaxed);
        if (before == index && after == index) {
            start = first;
            end = last;
            return OK;
        }
    }
    return ProcessorOverload;
}

PlayThroughRingBuffer::Result PlayThroughRingBuffer::clipTimeBounds(SampleTime& start, SampleTime& end) const
{
    SampleTime validStart = 0;
    SampleTime validEnd = 0;
    const Result result = getTimeBounds(validStart, validEnd);
    if (result != OK)
        return result;
    if (start >= validEnd) {
        start = end = validEnd;
        return EntirelyAfter;
    }
    if (end <= validStart) {
        start = end = validStart;
        return EntirelyBefore;
    }
    const bool startClipped = start < validStart;
    const bool endClipped = end > validEnd;
    start = std::max(start, validStart);
    end = std::min(end, validEnd);
    if (startClipped && endClipped)
        return BothClipped;
    if (startClipped)
        return StartClipped;
    if (endClipped)
        return EndClipped;
    return OK;
}

void PlayThroughRingBuffer::zeroRange(size_t offset, size_t bytes)
{
    for (int channel = 0; channel < mNumberChannels; ++channel) {
        uint8_t* buffer = mBuffers[channel];
        for (size_t byte = 0; byte < bytes; byte += 4)
            storeWord(buffer + ((offset + byte) & (mCapacityBytes - 1)), 0);
    }
}

void PlayThroughRingBuffer::storeRange(size_t offset, const void* const* buffers, size_t sourceOffset,
                                       size_t bytes)
{
    for (int channel = 0; channel < mNumberChannels; ++channel) {
        uint8_t* buffer = mBuffers[channel];
        const uint8_t* source = static_cast<const uint8_t*>(buffers[channel]) + sourceOffset;
        for (size_t byte = 0; byte < bytes; byte += 4) {
            uint32_t word;
            std::memcpy(&word, source + byte, 4);
            storeWord(buffer + ((offset + byte) & (mCapacityBytes - 1)), word);
        }
    }
}

void PlayThroughRingBuffer::fetchRange(void* const* buffers, size_t destinationOffset, size_t offset,
                                       size_t bytes) const
{
    for (int channel = 0; channel < mNumberChannels; ++channel) {
        const uint8_t* buffer = mBuffers[channel];
        uint8_t* destination = static_cast<uint8_t*>(buffers[channel]) + destinationOffset;
        for (size_t byte = 0; byte < bytes; byte += 4) {
            const uint32_t word = loadWord(buffer + ((offset + byte) & (mCapacityBytes - 1)));
            std::memcpy(destination + byte, &word, 4);
        }
    }
}

// Runs on the writer's thread.
PlayThroughRingBuffer::Result PlayThroughRingBuffer::store(const void* const* buffers, uint32_t frames,
                                                           SampleTime time)
{
    if (frames > mCapacityFrames)
        return TooMuch;
    const SampleTime endWrite = time + SampleTime(frames);
    SampleTime start = 0;
    SampleTime end = 0;
    // Only this thread writes the bounds, so the newest entry is always consistent here.
    getTimeBounds(start, end);
    if (time < end) {
        setTimeBounds(time, time);
        start = end = time;
    } else if (endWrite - start > SampleTime(mCapacityFrames)) {
        // The oldest frames give way; say so before they are overwritten.
        start = endWrite - SampleTime(mCapacityFrames);
        end = std::max(end, start);
        setTimeBounds(start, end);
    }
    if (time > end)
        zeroRange(frameOffset(end), size_t(time - end) * mBytesPerFrame);
    storeRange(frameOffset(time), buffers, 0, size_t(frames) * mBytesPerFrame);
    setTimeBounds(start, endWrite);
    return OK;
}

// Runs on the reader's thread.
PlayThroughRingBuffer::Result PlayThroughRingBuffer::fetch(void* const* buffers, uint32_t frames,
                                                           SampleTime time) const
{
    const SampleTime requestEnd = time + SampleTime(frames);
    SampleTime start = time;
    SampleTime end = requestEnd;
    const Result result = clipTimeBounds(start, end);
    if (result == ProcessorOverload || start == end)
        return result;
    const size_t leading = size_t(start - time) * mBytesPerFrame;
    const size_t valid = size_t(end - start) * mBytesPerFrame;
    const size_t trailing = size_t(requestEnd - end) * mBytesPerFrame;
    for (int channel = 0; channel < mNumberChannels; ++channel) {
        auto* destination = static_cast<uint8_t*>(buffers[channel]);
        std::memset(destination, 0, leading);
        std::memset(destination + leading + valid, 0, trailing);
    }
    fetchRange(buffers, leading, frameOffset(start), valid);
    return result;
}

} // namespace spindrel
