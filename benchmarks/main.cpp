#include <benchmark/benchmark.h>
#include <spdlog/spdlog.h>

#include <cstdio>

#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"

int main(int argc, char** argv) {
    using Norv::Corvane::Common::FirmwareDescriptionValidator;

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
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
