// Limits that a small machine, or whoever sends a manifest, can make libxml2 reach: room for names,
// and memory.

#pragma once

#include <cstdint>
#include <string_view>

namespace Norv::Corvane::Fuzz {

struct Limits {
    // Bytes for names; 0 is libxml2's own limit, of some ten megabytes.
    unsigned dictionary = 0;
    // The first allocation that fails, counted from one; 0 is none.
    unsigned fault = 0;
    // All that follow fail, too.
    bool lasting = false;
};

// An input may begin with a mark and the bytes that say its limits.
constexpr char limitsMark = '\xFE';
constexpr std::size_t limitsSize = 5;

// None if the input does not begin like that.
Limits limitsOf(std::string_view input);

// The rest of the input.
std::string_view withoutLimits(std::string_view input);

// While it lives, the limits hold in this process.
class LimitedLibrary {
public:
    explicit LimitedLibrary(const Limits& limits);
    LimitedLibrary(const LimitedLibrary&) = delete;
    LimitedLibrary& operator=(const LimitedLibrary&) = delete;
    ~LimitedLibrary();

    // Once, before libxml2 is used for the first time.
    static void prepare();
};

}  // namespace Norv::Corvane::Fuzz
