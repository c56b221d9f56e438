// The first verdict of a process that did nothing before: starting, linking, Init and all.

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

#include "Comparison.h"
#include "Inputs.h"

extern char** environ;

namespace Norv::Corvane::Benchmarks {
namespace {

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

Cost runProgram(std::vector<std::string> arguments) {
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
        argv.push_back(&argument[0]);
    }
    argv.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = 0;
    int status = -1;
    rusage usage{};
    if (posix_spawn(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0 ||
        wait4(child, &status, 0, &usage) != child || status != 0) {
        throw std::runtime_error("no verdict from " + arguments[0]);
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return {secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime), wall.count()};
}

void coldVerdict(benchmark::State& state) {
    const Scratch scratch;
    const SigningKey key = makeSigningKey(scratch / "");
    const std::string package = scratch / "package.zip";
    writePackage(package, manyFiles(10, 64), Pack::Signer(key.key, key.certificate));

    Comparison comparison;
    for (auto _ : state) {
        const Cost cost =
            comparison.runPair([] {},
                               [&] {
                                   return runProgram({COLD_VERDICT, key.certificate, package});
                               },
                               [&] {
                                   return runProgram({COLD_VERDICT_BARE, key.certificate, package});
                               });
        state.SetIterationTime(cost.wall);
    }
    comparison.report(state);
}

BENCHMARK(coldVerdict)->Iterations(101)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Norv::Corvane::Benchmarks
