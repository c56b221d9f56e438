// Installing, against the floor: read, hash, write and nothing else.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Comparison.h"
#include "Floor.h"
#include "Inputs.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "Norv/Corvane/Common/Installer.h"

namespace Norv::Corvane::Benchmarks {
namespace {

using namespace Norv::Corvane::Common;

// A package on disk, ready to be installed in both ways again and again.
class Bench {
public:
    explicit Bench(const std::vector<Pack::ArchiveEntry>& payload)
        : key_(makeSigningKey(scratch_ / "")),
          package_(scratch_ / "package.zip"),
          target_(scratch_ / "target"),
          floor_(target_, namesOf(payload)) {
        writePackage(package_, payload, Pack::Signer(key_.key, key_.certificate));
        if (validator_.Open(key_.certificate)) {
            throw std::runtime_error("the certificate was not loaded");
        }
    }

    Cost runPair(Comparison& comparison) {
        boost::optional<ValidatedFirmwareZip> validated;
        zip_t* archive = nullptr;
        const auto prepare = [&] {
            std::filesystem::remove_all(target_);
            if (!validated) {
                validated = FirmwareZipValidator(validator_).ValidateFirmwareZipFile(package_);
            }
            if (archive == nullptr) {
                archive = zip_open(package_.c_str(), ZIP_RDONLY, nullptr);
            }
        };
        const auto ours = [&] {
            const Cost cost = costOf([&] { install(*std::move(validated)); });
            validated = boost::none;
            return cost;
        };
        const auto floor = [&] {
            return costOf([&] { floor_.install(std::exchange(archive, nullptr)); });
        };
        return comparison.runPair(prepare, ours, floor);
    }

private:
    static std::vector<std::string> namesOf(const std::vector<Pack::ArchiveEntry>& payload) {
        std::vector<std::string> names;
        for (const Pack::ArchiveEntry& entry : payload) {
            names.push_back(entry.name);
        }
        return names;
    }

    void install(ValidatedFirmwareZip firmware) {
        bool succeeded = false;
        {
            Installer installer(target_);
            installer.Install(
                std::move(firmware), [](unsigned) {},
                [&succeeded](bool verdict) { succeeded = verdict; });
        }
        if (!succeeded) {
            throw std::runtime_error("the installation failed");
        }
    }

    Scratch scratch_;
    SigningKey key_;
    std::string package_;
    std::string target_;
    FirmwareDescriptionValidator validator_;
    Floor floor_;
};

void compare(benchmark::State& state, Bench& bench, std::size_t files, std::size_t bytes) {
    Comparison comparison;
    for (auto _ : state) {
        state.SetIterationTime(bench.runPair(comparison).wall);
    }
    comparison.report(state);
    state.counters["files"] = static_cast<double>(files);
    state.counters["bytes"] = static_cast<double>(bytes);
}

void installLarge(benchmark::State& state) {
    constexpr std::size_t size = 200'000'000;
    const bool deflate = state.range(0) != 0;
    Bench bench(mixedPayload(size, deflate));
    compare(state, bench, 4, size);
    state.SetLabel(deflate ? "deflated" : "stored");
}

void installMany(benchmark::State& state) {
    constexpr std::size_t size = 1024;
    const auto count = static_cast<std::size_t>(state.range(0));
    Bench bench(manyFiles(count, size));
    compare(state, bench, count, count * size);
}

BENCHMARK(installLarge)
    ->Arg(0)
    ->Arg(1)
    ->Iterations(15)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(installMany)->Arg(100)->Iterations(401)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(installMany)->Arg(1000)->Iterations(61)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(installMany)->Arg(10000)->Iterations(21)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Norv::Corvane::Benchmarks
