#include <benchmark/benchmark.h>
#include <sched.h>
#include <spdlog/spdlog.h>

#include <cstdio>

#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"

namespace {

// Left to the scheduler, the worker thread runs on another processor than the floor in the calling
// thread does, and finds the caches cold. That was up to a quarter of a large installation, and
// nothing at all with the floor in a thread of its own.
void stayOnThisProcessor() {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &processors);
    if (sched_setaffinity(0, sizeof processors, &processors) != 0) {
        std::perror("sched_setaffinity");
    }
}

}  // namespace

int main(int argc, char** argv) {
    using Norv::Corvane::Common::FirmwareDescriptionValidator;

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    stayOnThisProcessor();
    // One line for each installation would bury the figures.
    spdlog::set_level(spdlog::level::warn);
    if (const auto error = FirmwareDescriptionValidator::Init()) {
        std::fprintf(stderr, "%s\n", error.message().c_str());
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    FirmwareDescriptionValidator::Deinit();
    return 0;
}
