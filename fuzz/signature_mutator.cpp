// Mutates the inputs of signature_differential: the manifest in pieces of XML, the edits as bytes.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include "LibraryLimits.h"
#include "ManifestEdits.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Norv::Corvane::Fuzz::compoundEdits;
using Norv::Corvane::Fuzz::editSize;
using Norv::Corvane::Fuzz::firstCompoundEdit;
using Norv::Corvane::Fuzz::limitsMark;
using Norv::Corvane::Fuzz::limitsSize;
using Norv::Corvane::Fuzz::withoutLimits;

// One in `rareness` begins with a compound edit.
std::string randomEdits(std::minstd_rand& random, std::size_t count, unsigned rareness) {
    std::string edits(count * editSize, '\0');
    for (char& byte : edits) {
        byte = static_cast<char>(random() >> 8);
    }
    if (random() % rareness == 0) {
        edits.front() = static_cast<char>(firstCompoundEdit + random() % compoundEdits);
    }
    return edits;
}

// Allocations are some thousands. The parser's come first, and what it loses is noticed least.
std::string randomLimits(std::minstd_rand& random) {
    if (random() % 4 == 0) {
        return {};
    }
    const auto byte = [](unsigned long value) { return static_cast<char>(value); };
    const bool memory = random() % 2 == 0;
    const unsigned long most = random() % 2 == 0 ? 256 : 4096;
    const unsigned long fault = memory ? 1 + random() % most : 0;
    return {limitsMark, byte(memory ? 0 : random() >> 8), byte(fault / 256), byte(fault % 256),
            byte(random() % 4 == 0 ? 1 : 0)};
}

std::string mutatedBytes(std::string bytes, std::size_t maxSize) {
    const std::size_t size = bytes.size();
    bytes.resize(std::max(size, maxSize));
    auto* const data = reinterpret_cast<std::uint8_t*>(&bytes[0]);
    bytes.resize(LLVMFuzzerMutate(data, size, maxSize));
    return bytes;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned seed) {
    std::minstd_rand random(seed);
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    const std::string input(withoutLimits(whole));
    const bool sameLimits = random() % 2 == 0;
    const std::string limits =
        sameLimits ? std::string(whole.substr(0, size - input.size())) : randomLimits(random);
    const unsigned rareness = limits.empty() ? 4 : 2;
    const std::size_t end = std::min(input.find('\xFF'), input.size());
    std::string manifest = input.substr(0, end);
    std::string edits = input.substr(std::min(end + 1, input.size()));

    // Other limits alone are a mutation.
    switch (sameLimits ? random() % 12 : random() % 24) {
        case 0:
            // The maker of the package writes something else.
            manifest = Norv::Corvane::Fuzz::edited(manifest,
                                                   randomEdits(random, 1 + random() % 2, rareness));
            break;
        case 1:
            manifest = mutatedBytes(manifest, std::min(maxSize, manifest.size() + 64));
            break;
        case 2:
            edits = mutatedBytes(edits, 64);
            break;
        case 3:
            edits.resize(edits.size() / 2 / editSize * editSize);
            break;
        case 4:
        case 5:
        case 6:
        case 7:
            edits = randomEdits(random, 1, rareness);
            break;
        case 8:
        case 9:
        case 10:
        case 11:
            edits = edits.substr(0, edits.size() / editSize * editSize) +
                    randomEdits(random, 1, rareness);
            break;
        default:
            break;
    }
    // Every edit of an attacker must find its way past the others.
    constexpr std::size_t mostEdits = 6;
    edits.resize(std::min(edits.size(), mostEdits * editSize));
    const std::string output = limits + (edits.empty() ? manifest : manifest + '\xFF' + edits);
    const std::size_t length = std::min(output.size(), maxSize);
    std::memcpy(data, output.data(), length);
    return length;
}
