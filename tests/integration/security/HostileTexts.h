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

std::vector<HostileText> hostileTexts();

// For use as the name of a test.
std::string honestText(std::size_t size);

}  // namespace Norv::Corvane::Test
