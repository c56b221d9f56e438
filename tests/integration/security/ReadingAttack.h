// Manifests that the libraries below find signed, but that are read as something else.
//
// libxml2 goes on when it has no room for a name, or no memory, and makes a document of what it
// has. The signature is checked on that document.

#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

#include "Dictionary.h"
#include "Forgery.h"

namespace Norv::Corvane::Test {

struct ReadingAttack {
    std::string name;
    std::function<std::string()> manifest;
    Room room = Room::Tight;
};

inline std::ostream& operator<<(std::ostream& out, const ReadingAttack& attack) {
    return out << attack.name;
}

inline std::string nameOfReading(const testing::TestParamInfo<ReadingAttack>& info) {
    return info.param.name;
}

// Checked with as much room for names as the attack says.
class ReadingAttackTest : public testing::TestWithParam<ReadingAttack> {};

}  // namespace Norv::Corvane::Test
