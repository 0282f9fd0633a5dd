#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <memory>
#include <type_traits>

namespace spindrel {

/// A fixed-capacity queue between exactly one producer thread and one consumer thread. After the
/// constructor nothing allocates, locks or waits, so either side may run on a real-time thread.
/// Each user says in a comment which thread runs which side.
template <typename T> class SPSCRingBuffer
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    /// Contiguous pieces of the buffer: the second is used when the span wraps around.
    template <typename P> struct Span
    {
        P* first = nullptr;
        size_t firstCount = 0;
        P* second = nullptr;
        size_t secondCount = 0;
        size_t count() const { return firstCount + secondCount; }
    };

    /// The capacity is rounded up to a power of two.
    explicit SPSCRingBuffer(size_t minimumCapacity)
    {
        size_t capacity = 1;
        while (capacity < minimumCapacity)
            capacity <<= 1;
        mData = std::make_unique<T[]>(capacity);
        mMask = capacity - 1;
    }

    size_t capacity() const { return mMask + 1; }

    // Producer side.

    size_t writeAvailable() const
    {
        return capacity() - (mWrite.load(std::memory_order_relaxed) - mRead.load(std::memory_order_acquire));
    }

    Span<T> writeSpan(size_t maximum)
    {
        const size_t count = std::min(maximum, writeAvailable());
        return spanAt(mWrite.load(std::memory_order_relaxed), count);
    }

    void commitWrite(size_t count)
    {
        mWrite.store(mWrite.load(std::memory_order_relaxed) + count, std::memory_order_release);
    }

    /// Copies as much as fits and returns how much that was.
    size_t write(const T* data, size_t count)
    {
        const Span<T> span = writeSpan(count);
        std::memcpy(span.first, data, span.firstCount * sizeof(T));
        if (span.secondCount)
            std::memcpy(span.second, data + span.firstCount, span.secondCount * sizeof(T));
        commitWrite(span.count());
        return span.count();
    }

    // Consumer side.

    size_t readAvailable() const
    {
        return mWrite.load(std::memory_order_acquire) - mRead.load(std::memory_order_relaxed);
    }

    Span<const T> readSpan(size_t maximum) const
    {
        const size_t count = std::min(maximum, readAvailable());
        const Span<T> span =
            const_cast<SPSCRingBuffer*>(this)->spanAt(mRead.load(std::memory_order_relaxed), count);
        return {span.first, span.firstCount, span.second, span.secondCount};
    }

    void commitRead(size_t count)
    {
        mRead.store(mRead.load(std::memory_order_relaxed) + count, std::memory_order_release);
    }

    size_t read(T* out, size_t count)
    {
        const Span<const T> span = readSpan(count);
        std::memcpy(out, span.first, span.firstCount * sizeof(T));
        if (span.secondCount)
            std::memcpy(out + span.firstCount, span.second, span.secondCount * sizeof(T));
        commitRead(span.count());
        return span.count();
    }

    /// Empties the buffer. Only while neither side is running.
    void reset()
    {
        mWrite.store(0, std::memory_order_relaxed);
        mRead.store(0, std::memory_order_release);
    }

private:
    Span<T> spanAt(size_t index, size_t count)
    {
        const size_t start = index & mMask;
        const size_t first = std::min(count, capacity() - start);
        return {mData.get() + start, first, mData.get(), count - first};
    }

    std::unique_ptr<T[]> mData;
    size_t mMask = 0;
    alignas(64) std::atomic<size_t> mWrite{0};
    alignas(64) std::atomic<size_t> mRead{0};
};

} // namespace spindrel
