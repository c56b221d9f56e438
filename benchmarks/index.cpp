// The firmware index against Boost.JSON alone: from the text to the document, and from a document
// that exists already to the text; no records, no checks, no locks.

#include <benchmark/benchmark.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <filesystem>
#include <fstream>
#include <string>

#include "Comparison.h"
#include "Inputs.h"
#include "Norv/Corvane/Common/FirmwareIndex.h"

namespace Norv::Corvane::Benchmarks {
namespace {

namespace json = boost::json;
using namespace Norv::Corvane::Common;

constexpr std::size_t records = 10000;

FirmwareIndex::Firmwares makeIndex() {
    using Norv::Ombrel::Project::DeviceType;
    FirmwareIndex::Firmwares index;
    for (std::size_t i = 0; i < records; ++i) {
        FirmwareIndex::Firmwares::Firmware firmware;
        firmware.filename = "rootfs-4.2." + std::to_string(i) + ".img";
        firmware.type = static_cast<DeviceType::Type>(1 + i % 5);
        firmware.version = {4, 2, static_cast<unsigned>(i), 7};
        firmware.supportedHwRevs = {"A1", "B3"};
        firmware.sha256 = std::string(64, "0123456789abcdef"[i % 16]);
        index.firmwares.push_back(firmware);
    }
    return index;
}

json::value parseBare(const std::string& path) {
    std::string text(std::filesystem::file_size(path), '\0');
    std::ifstream(path).read(&text[0], static_cast<std::streamsize>(text.size()));
    return json::parse(text);
}

template <typename Ours, typename Floor>
void compare(benchmark::State& state, Ours ours, Floor floor) {
    Comparison comparison;
    for (auto _ : state) {
        const Cost cost =
            comparison.runPair([] {}, [&] { return costOf(ours); }, [&] { return costOf(floor); });
        state.SetIterationTime(cost.wall);
    }
    comparison.report(state);
    state.counters["operations"] = 1;
    state.counters["records"] = records;
}

void loadIndex(benchmark::State& state) {
    const Scratch scratch;
    const std::string path = scratch / "index.json";
    FirmwareIndex::Save(path, makeIndex());
    compare(
        state, [&] { benchmark::DoNotOptimize(FirmwareIndex::Load(path)); },
        [&] { benchmark::DoNotOptimize(parseBare(path)); });
}

void saveIndex(benchmark::State& state) {
    const Scratch scratch;
    const std::string path = scratch / "index.json";
    const FirmwareIndex::Firmwares index = makeIndex();
    const json::value document = json::value_from(index);
    compare(
        state, [&] { FirmwareIndex::Save(path, index); },
        [&] {
            std::ofstream stream(path);
            stream << json::serialize(document);
        });
}

BENCHMARK(loadIndex)->Iterations(31)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(saveIndex)->Iterations(31)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Norv::Corvane::Benchmarks
