// Two ways of doing the same work, measured against each other.
//
// The two run in turns within one process, so that what else the machine does meets both alike.
// What is reported are medians; the ratio is the median of the ratios of neighbouring runs.

#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <vector>

namespace Norv::Corvane::Benchmarks {

struct Cost {
    // Of the whole process, all threads, in seconds.
    double cpu = 0;
    double wall = 0;
};

Cost costOf(const std::function<void()>& work);

double median(std::vector<double> values);

class Comparison {
public:
    // Runs each once. `prepare` comes before each of the two and is not measured. Which one goes
    // first alternates from call to call. Returns the cost of `ours`.
    Cost runPair(const std::function<void()>& prepare, const std::function<void()>& ours,
                 const std::function<void()>& floor);

    // Counters ours_cpu, ours_wall, floor_cpu, floor_wall (seconds), cpu_ratio, wall_ratio.
    void report(benchmark::State& state) const;

private:
    std::vector<Cost> ours_;
    std::vector<Cost> floor_;
};

}  // namespace Norv::Corvane::Benchmarks
