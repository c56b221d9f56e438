// Validating a package: how much of it is the work of the libraries, how much is ours.

#include <benchmark/benchmark.h>

#include <array>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "BareValidation.h"
#include "Comparison.h"
#include "Inputs.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"

namespace Norv::Corvane::Benchmarks {
namespace {

using namespace Norv::Corvane::Common;

double medianOf(const std::vector<Cost>& costs) {
    std::vector<double> seconds;
    for (const Cost& cost : costs) {
        seconds.push_back(cost.cpu);
    }
    return median(std::move(seconds));
}

void require(bool outcome) {
    if (!outcome) {
        throw std::runtime_error("the package was refused");
    }
}

// Each round validates once and then makes each library do its part alone. What the parts leave of
// the whole is ours: the median over the rounds.
void validate(benchmark::State& state) {
    const auto count = static_cast<std::size_t>(state.range(0));
    const Scratch scratch;
    const SigningKey key = makeSigningKey(scratch / "");
    const std::string package = scratch / "package.zip";
    writePackage(package, manyFiles(count, 64), Pack::Signer(key.key, key.certificate));
    FirmwareDescriptionValidator validator;
    require(!validator.Open(key.certificate));
    const BareVerifier verifier(key.certificate);
    const std::string text = readManifestBare(package);

    enum { whole, archive, verification, tree, parts };
    const std::array<std::function<void()>, parts> work = {
        [&] {
            require(FirmwareZipValidator(validator).ValidateFirmwareZipFile(package).has_value());
        },
        [&] { require(!readManifestBare(package).empty()); },
        [&] { require(verifier.verify(text)); }, [&] { require(loadTreeBare(text)); }};
    std::array<std::vector<Cost>, parts> costs;
    std::vector<double> own;
    for (auto _ : state) {
        for (std::size_t i = 0; i < parts; ++i) {
            costs[i].push_back(costOf(work[i]));
        }
        own.push_back(costs[whole].back().cpu - costs[archive].back().cpu -
                      costs[verification].back().cpu - costs[tree].back().cpu);
        state.SetIterationTime(costs[whole].back().wall);
    }
    state.counters["files"] = static_cast<double>(count);
    state.counters["manifest_bytes"] = static_cast<double>(text.size());
    state.counters["whole_cpu"] = medianOf(costs[whole]);
    state.counters["libzip_cpu"] = medianOf(costs[archive]);
    state.counters["xmlsec_cpu"] = medianOf(costs[verification]);
    state.counters["pugixml_cpu"] = medianOf(costs[tree]);
    state.counters["own_cpu"] = median(own);
    state.counters["own_share"] = median(own) / medianOf(costs[whole]);
}

BENCHMARK(validate)->Arg(10)->Iterations(401)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(validate)->Arg(1000)->Iterations(61)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(validate)->Arg(10000)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Norv::Corvane::Benchmarks
