// Mutates the inputs of signature_differential: the manifest in pieces of XML, the edits as bytes.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>

#include "ManifestEdits.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using Norv::Corvane::Fuzz::editSize;

std::string randomEdits(std::minstd_rand& random, std::size_t count) {
    std::string edits(count * editSize, '\0');
    for (char& byte : edits) {
        byte = static_cast<char>(random() >> 8);
    }
    return edits;
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
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\xFF'), input.size());
    std::string manifest = input.substr(0, end);
    std::string edits = input.substr(std::min(end + 1, input.size()));

    switch (random() % 12) {
        case 0:
            // The maker of the package writes something else.
            manifest = Norv::Corvane::Fuzz::edited(manifest, randomEdits(random, 1 + random() % 2));
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
            edits = randomEdits(random, 1);
            break;
        default:
            edits = edits.substr(0, edits.size() / editSize * editSize) + randomEdits(random, 1);
            break;
    }
    // Every edit of an attacker must find its way past the others.
    constexpr std::size_t mostEdits = 6;
    edits.resize(std::min(edits.size(), mostEdits * editSize));
    const std::string output = edits.empty() ? manifest : manifest + '\xFF' + edits;
    const std::size_t length = std::min(output.size(), maxSize);
    std::memcpy(data, output.data(), length);
    return length;
}
