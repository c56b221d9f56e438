// Checks a manifest before a device sees it.

#pragma once

#include <string>
#include <vector>

#include "Manifest.h"

namespace Norv::Corvane::Pack {

// One sentence each, for the person who makes the package.
struct Findings {
    // A device would refuse the package, fail to install it, or install something other than meant.
    std::vector<std::string> errors;
    // Allowed, but hardly meant.
    std::vector<std::string> warnings;
};

// What becomes an error. A script that cannot be run makes every installation fail, one that is
// never run makes it incomplete.
enum class Strictness {
    // Neither: both are warnings.
    Lenient,
    // Both of them.
    Normal,
    // Every warning.
    Strict,
};

// Ignores digests, so that a manifest can be checked before its payload is hashed.
Findings check(const Manifest& manifest, Strictness strictness = Strictness::Lenient);

}  // namespace Norv::Corvane::Pack
