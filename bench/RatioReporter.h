#pragma once

// The console report, keeping every run that did not fail so that a benchmark program can end
// with the ratio lines that set its figures beside their peers and goals.
#include <benchmark/benchmark.h>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace spindrel::bench {

class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            if (run.error_occurred)
                continue;
            mRuns[run.benchmark_name()] = run;
            mRuns[run.run_name.function_name] = run;
        }
    }

    /// The run by its whole name ("BM_X/1/iterations:3") or its function's name; null when it
    /// did not run or failed.
    const Run* find(const std::string& name) const
    {
        const auto found = mRuns.find(name);
        return found == mRuns.end() ? nullptr : &found->second;
    }

    /// "label: ours t, peer t, ratio peer/ours", in the runs' own time unit.
    void printRatio(const char* label, const std::string& ours, const std::string& peer) const
    {
        const Run* a = find(ours);
        const Run* b = find(peer);
        if (!a || !b) {
            std::printf("%s: not measured in this run\n", label);
            return;
        }
        std::printf("%s: %s %.3f, %s %.3f, ratio %.2f\n", label, ours.c_str(), a->GetAdjustedRealTime(),
                    peer.c_str(), b->GetAdjustedRealTime(),
                    b->GetAdjustedRealTime() / a->GetAdjustedRealTime());
    }

    /// "label: ours t, goal g, ratio goal/ours", with `goal` in the run's time unit.
    void printGoalRatio(const char* label, const std::string& ours, double goal) const
    {
        const Run* run = find(ours);
        if (!run) {
            std::printf("%s: not measured in this run\n", label);
            return;
        }
        std::printf("%s: %s %.3f, goal %.3f, ratio %.2f\n", label, ours.c_str(), run->GetAdjustedRealTime(),
                    goal, goal / run->GetAdjustedRealTime());
    }

    static double counter(const Run& run, const char* name)
    {
        const auto found = run.counters.find(name);
        return found == run.counters.end() ? 0.0 : double(found->second);
    }

private:
    std::map<std::string, Run> mRuns;
};

/// Runs the benchmarks the command line names, each reported as it ends, then hands every run to
/// `printRatios` for the lines that compare them.
inline int runBenchmarks(int argc, char** argv, const std::function<void(const RatioReporter&)>& printRatios)
{
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    printRatios(reporter);
    benchmark::Shutdown();
    return 0;
}

} // namespace spindrel::bench
