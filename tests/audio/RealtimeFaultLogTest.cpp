#include "audio/RealtimeFaultLog.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace spindrel;

namespace {

std::vector<int> drainLines(RealtimeFaultLog& log, std::size_t* lost = nullptr)
{
    std::vector<int> lines;
    const std::size_t missed =
        log.drain([&](const RealtimeFaultLog::Fault& fault) { lines.push_back(fault.line); });
    if (lost)
        *lost = missed;
    return lines;
}

} // namespace

TEST(RealtimeFaultLog, ReportsFaultsInOrderAndCountsWhatDidNotFit)
{
    RealtimeFaultLog log(4);
    std::size_t lost = 99;
    EXPECT_TRUE(drainLines(log, &lost).empty());
    EXPECT_EQ(lost, 0u);

    // Noted on another thread, as the audio threads do, and read here once it has finished.
    std::thread producer([&log] {
        for (int line = 1; line <= 10; ++line)
            log.note(-1, line);
    });
    producer.join();
    EXPECT_EQ(drainLines(log, &lost), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(lost, 6u);

    // A drain empties the log and its count: the next faults fit again.
    log.note(-3, 42);
    RealtimeFaultLog::Fault seen{};
    EXPECT_EQ(log.drain([&](const RealtimeFaultLog::Fault& fault) { seen = fault; }), 0u);
    EXPECT_EQ(seen.status, -3);
    EXPECT_EQ(seen.line, 42);
}

TEST(RealtimeFaultLog, NothingIsLostOrRepeatedWhileBothSidesRun)
{
    RealtimeFaultLog log(8);
    constexpr int total = 20000;
    std::atomic<bool> done{false};
    std::thread producer([&] {
        for (int line = 0; line < total; ++line)
            log.note(0, line);
        done.store(true);
    });
    std::vector<int> lines;
    std::size_t lost = 0;
    const auto keep = [&](const RealtimeFaultLog::Fault& fault) { lines.push_back(fault.line); };
    while (!done.load())
        lost += log.drain(keep);
    producer.join();
    lost += log.drain(keep);
    // Every fault was either reported or counted, and the reported ones came once, in order.
    EXPECT_EQ(lines.size() + lost, std::size_t(total));
    for (std::size_t i = 1; i < lines.size(); ++i)
        ASSERT_LT(lines[i - 1], lines[i]) << "reported out of order or twice";
}
