// Reading values out of text and comparing names, against the least that the same job takes.

#include <benchmark/benchmark.h>
#include <strings.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

#include "Comparison.h"
#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/FQDN.h"
#include "Norv/Ombrel/Project/MacAddress.h"
#include "Norv/Ombrel/Project/Version.h"

namespace Norv::Corvane::Benchmarks {
namespace {

using namespace Norv::Ombrel::Project;

constexpr int batch = 10000;
constexpr int pairs = 101;

template <typename Operation>
auto batchOf(Operation operation) {
    return [operation] {
        return costOf([&operation] {
            for (int i = 0; i < batch; ++i) {
                auto result = operation();
                benchmark::DoNotOptimize(result);
            }
        });
    };
}

// Seconds in the counters are those of one batch.
template <typename Ours, typename Floor>
void compare(benchmark::State& state, Ours ours, Floor floor) {
    Comparison comparison;
    for (auto _ : state) {
        const Cost cost = comparison.runPair([] {}, batchOf(ours), batchOf(floor));
        state.SetIterationTime(cost.wall);
    }
    comparison.report(state);
    state.counters["operations"] = batch;
}

// Numbers with one separator between them, and nothing else.
template <typename Number, std::size_t count>
bool readBare(std::string_view text, char separator, int base, std::array<Number, count>& numbers) {
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (i != 0 && (at == end || *at++ != separator)) {
            return false;
        }
        const auto [next, error] = std::from_chars(at, end, numbers[i], base);
        if (error != std::errc()) {
            return false;
        }
        at = next;
    }
    return true;
}

void parseVersion(benchmark::State& state) {
    std::string text = "4.2.1.70235";
    compare(
        state,
        [&] {
            benchmark::DoNotOptimize(text);
            return Version::parse(text);
        },
        [&] {
            benchmark::DoNotOptimize(text);
            std::array<unsigned int, 4> numbers{};
            benchmark::DoNotOptimize(readBare(text, '.', 10, numbers));
            return numbers;
        });
}

void parseMacAddress(benchmark::State& state) {
    std::string text = "00:1a:2b:3c:4d:5e";
    compare(
        state,
        [&] {
            benchmark::DoNotOptimize(text);
            return MacAddress::parse(text);
        },
        [&] {
            benchmark::DoNotOptimize(text);
            std::array<std::uint8_t, 6> octets{};
            benchmark::DoNotOptimize(readBare(text, ':', 16, octets));
            return octets;
        });
}

void parseDeviceType(benchmark::State& state) {
    static constexpr std::array<std::string_view, 5> codes = {"QA01RTVN", "WOLMZB04", "PD02JNSH",
                                                              "PD03JNSH", "RTVNUY01"};
    std::string text = "QVRTVNUY01";
    compare(
        state,
        [&] {
            benchmark::DoNotOptimize(text);
            return DeviceType::parse(text, std::nullopt);
        },
        [&] {
            benchmark::DoNotOptimize(text);
            const std::string_view code = std::string_view(text).substr(2);
            std::size_t index = 0;
            while (index < codes.size() && codes[index] != code) {
                ++index;
            }
            return index;
        });
}

void compareNames(benchmark::State& state) {
    std::string lower = "livingroom-001a2b3c4d5e.building-7.site.local";
    const std::string mixed = "LivingRoom-001A2B3C4D5E.Building-7.Site.Local";
    FQDN a(lower);
    const FQDN b(mixed);
    compare(
        state,
        [&] {
            benchmark::DoNotOptimize(a);
            return a == b;
        },
        [&] {
            benchmark::DoNotOptimize(lower);
            return strcasecmp(lower.c_str(), mixed.c_str()) == 0;
        });
}

BENCHMARK(parseVersion)->Iterations(pairs)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(parseMacAddress)->Iterations(pairs)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(parseDeviceType)->Iterations(pairs)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(compareNames)->Iterations(pairs)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace Norv::Corvane::Benchmarks
