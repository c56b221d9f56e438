#include "Comparison.h"

#include <time.h>

#include <algorithm>

namespace Norv::Corvane::Benchmarks {
namespace {

double secondsOf(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double medianCpu(const std::vector<Cost>& costs) {
    std::vector<double> values;
    for (const Cost& cost : costs) {
        values.push_back(cost.cpu);
    }
    return median(std::move(values));
}

double medianCpuRatio(const std::vector<Cost>& a, const std::vector<Cost>& b) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < a.size(); ++i) {
        ratios.push_back(a[i].cpu / b[i].cpu);
    }
    return median(std::move(ratios));
}

double fastest(const std::vector<Cost>& costs) {
    const auto least = std::min_element(
        costs.begin(), costs.end(), [](const Cost& a, const Cost& b) { return a.wall < b.wall; });
    return least->wall;
}

}  // namespace

Cost costOf(const std::function<void()>& work) {
    const double wall = secondsOf(CLOCK_MONOTONIC);
    const double cpu = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    work();
    return {secondsOf(CLOCK_PROCESS_CPUTIME_ID) - cpu, secondsOf(CLOCK_MONOTONIC) - wall};
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    if (values.size() % 2 != 0) {
        return *middle;
    }
    return (*middle + *std::max_element(values.begin(), middle)) / 2;
}

Cost Comparison::runPair(const std::function<void()>& prepare, const std::function<Cost()>& ours,
                         const std::function<Cost()>& floor) {
    const bool oursFirst = ours_.size() % 2 == 0;
    for (const bool runOurs : {oursFirst, !oursFirst}) {
        prepare();
        (runOurs ? ours_ : floor_).push_back(runOurs ? ours() : floor());
    }
    return ours_.back();
}

void Comparison::report(benchmark::State& state) const {
    state.counters["ours_cpu"] = medianCpu(ours_);
    state.counters["floor_cpu"] = medianCpu(floor_);
    state.counters["cpu_ratio"] = medianCpuRatio(ours_, floor_);
    const double ours = fastest(ours_);
    const double floor = fastest(floor_);
    state.counters["ours_wall"] = ours;
    state.counters["floor_wall"] = floor;
    state.counters["wall_ratio"] = ours / floor;
}

}  // namespace Norv::Corvane::Benchmarks
