// Zip archives made byte by byte, in which every field can lie.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Norv::Corvane::Test {

// One stored entry. Fields that are not set are true.
struct RawEntry {
    std::string name;
    std::string data;
    std::uint16_t method = 0;
    std::uint16_t flags = 0;
    std::optional<std::uint32_t> size{};
    std::optional<std::uint32_t> compressedSize{};
    std::optional<std::uint32_t> checksum{};
    std::optional<std::string> localName{};
    std::optional<std::uint32_t> offset{};
    // Of the directory record only.
    std::string extra{};
};

// What the end of the directory claims, where it differs from the truth.
struct RawEnd {
    std::optional<std::uint16_t> count{};
    std::optional<std::uint32_t> directorySize{};
    std::optional<std::uint32_t> directoryOffset{};
    std::optional<std::uint16_t> commentLength{};
    // In front of the end record: such as the records of zip64.
    std::string before{};
};

std::string rawArchive(const std::vector<RawEntry>& entries, const RawEnd& end = {});

// The extra field that carries 64-bit sizes, and the two records that carry 64-bit directory data.
std::string zip64Sizes(std::uint64_t size, std::uint64_t compressedSize);
std::string zip64End(std::uint64_t count, std::uint64_t directorySize,
                     std::uint64_t directoryOffset, std::uint64_t recordOffset);

}  // namespace Norv::Corvane::Test
