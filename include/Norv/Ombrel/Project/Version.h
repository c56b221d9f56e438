// A four-part version number: major.minor.patch.build.
//
//   if (const auto version = Version::parse("4.2.1.7"); version && *version > installed) { ... }
//
// A plain value; distinct objects may be used from any thread. Parsing reports failure by an empty
// optional and never throws for bad text.

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Norv/Export.h"

namespace Norv::Ombrel::Project {

struct NORV_EXPORT Version {
    unsigned int major = 0;
    unsigned int minor = 0;
    unsigned int patch = 0;
    unsigned int build = 0;

    // Reads four decimal numbers joined by ".", each at most 4294967295. Blanks or a "+" before a
    // number are accepted, and so is any text after the fourth one.
    static std::optional<Version> parse(std::string_view text);

    friend constexpr bool operator==(const Version& a, const Version& b) noexcept {
        return a.major == b.major && a.minor == b.minor && a.patch == b.patch && a.build == b.build;
    }
    friend constexpr bool operator!=(const Version& a, const Version& b) noexcept {
        return !(a == b);
    }
    // An earlier release is less than a later one: the first number that differs decides.
    friend constexpr bool operator<(const Version& a, const Version& b) noexcept {
        if (a.major != b.major) {
            return a.major < b.major;
        }
        if (a.minor != b.minor) {
            return a.minor < b.minor;
        }
        if (a.patch != b.patch) {
            return a.patch < b.patch;
        }
        return a.build < b.build;
    }
    friend constexpr bool operator>(const Version& a, const Version& b) noexcept { return b < a; }
    friend constexpr bool operator<=(const Version& a, const Version& b) noexcept {
        return !(b < a);
    }
    friend constexpr bool operator>=(const Version& a, const Version& b) noexcept {
        return !(a < b);
    }
};

// Always four numbers, without padding: "1.2.3.0".
NORV_EXPORT std::string to_string(const Version& version);

}  // namespace Norv::Ombrel::Project
