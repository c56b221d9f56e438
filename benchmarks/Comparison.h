// Two ways of doing the same work, measured against each other.
//
// The two run in turns within one process, so that what else the machine does meets both alike.

#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <vector>

namespace Norv::Corvane::Benchmarks {

// In seconds; `cpu` is that of all threads.
struct Cost {
    double cpu = 0;
    double wall = 0;
};

// What `work` costs this process.
Cost costOf(const std::function<void()>& work);

double median(std::vector<double> values);

class Comparison {
public:
    // Runs each once, `prepare` before each of them. Which one goes first alternates from call to
    // call. Returns the cost of `ours`.
    Cost runPair(const std::function<void()>& prepare, const std::function<Cost()>& ours,
                 const std::function<Cost()>& floor);

    // Counters ours_cpu and floor_cpu (medians, in seconds); cpu_ratio, the median of the ratios of
    // neighbouring runs; ours_wall, floor_wall and wall_ratio of the fastest run of each, since
    // waiting for a processor that others use says nothing about either.
    void report(benchmark::State& state) const;

private:
    std::vector<Cost> ours_;
    std::vector<Cost> floor_;
};

}  // namespace Norv::Corvane::Benchmarks
