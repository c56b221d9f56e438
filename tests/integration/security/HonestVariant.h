// What an honest maker of manifests may do: everything that follows is signed by the trusted key
// over the whole manifest, and has to be accepted and read as it was meant.

#pragma once

#include <string>

#include "Attack.h"

namespace Norv::Corvane::Test {

// Not an attack, but made the same way.
struct Variant : Attack {
    // The trusted one.
    const TestKey& (*key)() = rsaKey;
};

inline std::string nameOfVariant(const testing::TestParamInfo<Variant>& info) {
    return info.param.name;
}

// The honest manifest before it is signed.
std::string unsignedManifest();

class HonestVariant : public testing::TestWithParam<Variant> {};

}  // namespace Norv::Corvane::Test
