#pragma once

#include "audio/SPSCRingBuffer.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace spindrel {

/// Failures noted on one real-time thread and reported later on a normal one: noting allocates
/// nothing, takes no lock and never prints; what does not fit is counted instead.
class RealtimeFaultLog
{
public:
    struct Fault
    {
        std::int32_t status;
        std::int32_t line;
    };

    explicit RealtimeFaultLog(std::size_t capacity = 32) : mFaults(capacity) {}

    /// On the one real-time thread that owns this log.
    void note(int status, int line) noexcept
    {
        const Fault fault{std::int32_t(status), std::int32_t(line)};
        if (mFaults.write(&fault, 1) == 0)
            mLost.fetch_add(1, std::memory_order_relaxed);
    }

    /// On the one reporting thread: hands every noted fault to `report`, oldest first, and
    /// answers how many did not fit since the last drain.
    std::size_t drain(const std::function<void(const Fault&)>& report)
    {
        Fault fault{};
        while (mFaults.read(&fault, 1) == 1)
            report(fault);
        return mLost.exchange(0, std::memory_order_relaxed);
    }

private:
    SPSCRingBuffer<Fault> mFaults;
    std::atomic<std::size_t> mLost{0};
};

} // namespace spindrel
