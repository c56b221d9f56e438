// Makes untrusted text safe for a terminal, and formats other small texts.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Norv::Corvane::Pack {

// The text without anything that a terminal obeys or a reader cannot see: control characters (C0,
// DEL, C1), marks that change the direction of writing, invisible characters, line separators and
// bytes that are not UTF-8 become "\x1b" or "\u{202e}". Everything else stays, including
// backslashes, so that a second call changes nothing.
std::string printable(std::string_view text);

// The printable text in double quotes.
std::string inQuotes(std::string_view text);

// "a", "a and b", "a, b and c".
std::string enumeration(const std::vector<std::string>& words);

std::string toHex(const std::vector<std::uint8_t>& bytes);

// "1 file", "2 files".
std::string counted(std::size_t count, const std::string& noun);

// "512 bytes", "1.5 MiB".
std::string humanSize(std::uint64_t bytes);

// The first code point of a text that is not empty, and how many bytes it takes. If the bytes are
// not UTF-8, it is not valid, and the length is 1.
struct CodePoint {
    std::uint32_t value = 0;
    std::size_t length = 1;
    bool valid = false;
};
CodePoint firstCodePoint(std::string_view text);

// The last part of a path.
std::string baseName(const std::string& path);

}  // namespace Norv::Corvane::Pack
