// Validating a package: how much of it is the work of the libraries, how much is ours.

#include <benchmark/benchmark.h>

#include <array>
#include <pugixml.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "BareValidation.h"
#include "Comparison.h"
#include "Inputs.h"
#include "ManifestText.h"
#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Norv/Corvane/Common/FirmwareDescriptionValidator.h"
#include "Norv/Corvane/Common/FirmwareZipValidator.h"
#include "WorkBudget.h"

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

// One validation and, alone and on the same package, each part of it.
class Bench {
public:
    enum Part { whole, archive, verification, tree, checks, description, parts };

    explicit Bench(std::size_t files)
        : key_(makeSigningKey(scratch_ / "")),
          package_(scratch_ / "package.zip"),
          verifier_(key_.certificate) {
        writePackage(package_, manyFiles(files, 64), Pack::Signer(key_.key, key_.certificate));
        require(!validator_.Open(key_.certificate));
        text_ = readManifestBare(package_);
        require(tree_.load_string(text_.c_str()));
    }

    std::size_t manifestSize() const { return text_.size(); }

    void run(Part part) {
        switch (part) {
            case whole:
                require(
                    FirmwareZipValidator(validator_).ValidateFirmwareZipFile(package_).has_value());
                return;
            case archive:
                require(!readManifestBare(package_).empty());
                return;
            case verification:
                require(verifier_.verify(text_));
                return;
            case tree:
                require(loadTreeBare(text_));
                return;
            case checks: {
                const WorkBudget budget(text_);
                require(ManifestText::readsAlike(text_) && budget.allowsParsing() &&
                        budget.allowsVerification(usual_));
                return;
            }
            case description:
                require(parseFirmwareDescription(tree_.child("FirmwareDescription")).which() == 0);
                return;
            case parts:
                break;
        }
    }

private:
    Scratch scratch_;
    SigningKey key_;
    std::string package_;
    FirmwareDescriptionValidator validator_;
    BareVerifier verifier_;
    std::string text_;
    pugi::xml_document tree_;
    // What a signature with one reference and two transforms asks for.
    SignatureDemands usual_{1, 4, 0, 0};
};

void validate(benchmark::State& state) {
    const auto files = static_cast<std::size_t>(state.range(0));
    Bench bench(files);
    std::array<std::vector<Cost>, Bench::parts> costs;
    for (auto _ : state) {
        for (std::size_t part = 0; part < Bench::parts; ++part) {
            costs[part].push_back(costOf([&] { bench.run(static_cast<Bench::Part>(part)); }));
        }
        state.SetIterationTime(costs[Bench::whole].back().wall);
    }
    // Ours is measured directly and not as what the libraries leave: run alone, a library finds
    // the heap and the caches in another state than in the whole, and that alone is some per cent.
    const double own = medianOf(costs[Bench::checks]) + medianOf(costs[Bench::description]);
    state.counters["files"] = static_cast<double>(files);
    state.counters["manifest_bytes"] = static_cast<double>(bench.manifestSize());
    state.counters["whole_cpu"] = medianOf(costs[Bench::whole]);
    state.counters["libzip_cpu"] = medianOf(costs[Bench::archive]);
    state.counters["xmlsec_cpu"] = medianOf(costs[Bench::verification]);
    state.counters["pugixml_cpu"] = medianOf(costs[Bench::tree]);
    state.counters["own_cpu"] = own;
    state.counters["own_share"] = own / medianOf(costs[Bench::whole]);
}

BENCHMARK(validate)->Arg(10)->Iterations(401)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(validate)->Arg(1000)->Iterations(61)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(validate)->Arg(10000)->Iterations(15)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Norv::Corvane::Benchmarks
