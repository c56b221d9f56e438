// Manifests that are made to cost as much as possible, each of about the size that is asked for.

#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace Norv::Corvane::Test {

struct HostileText {
    std::string name;
    std::function<std::string(std::size_t)> make;
};

inline std::ostream& operator<<(std::ostream& out, const HostileText& text) {
    return out << text.name;
}

// Each takes far more time or memory than is allowed where nothing bounds the work.
std::vector<HostileText> costlyTexts();

// What the bounds let through, or what the libraries below withstand by themselves. Tells how near
// to the limits an attacker can come.
std::vector<HostileText> borderlineTexts();

// The cost of each grows faster than its size, or would take minutes at the largest size.
std::vector<HostileText> growingTexts();
std::vector<HostileText> largeTexts();

std::string honestText(std::size_t size);

}  // namespace Norv::Corvane::Test
