#include "ManifestText.h"

#include <gtest/gtest.h>

#include <string>

namespace Norv::Corvane::Common {
namespace {

// The bytes in question at every distance from the start and from the end, and between ASCII.
void expectReadsAlike(const std::string& bytes, bool expected) {
    for (std::size_t before = 0; before < 20; ++before) {
        for (std::size_t after = 0; after < 20; ++after) {
            const std::string text = std::string(before, 'a') + bytes + std::string(after, '\x7F');
            EXPECT_EQ(ManifestText::readsAlike(text), expected)
                << "behind " << before << " and before " << after << " bytes";
        }
    }
}

TEST(ManifestText, TakesAsciiOfAnyLength) {
    expectReadsAlike("", true);
    expectReadsAlike("\x01", true);
}

TEST(ManifestText, TakesEveryLengthOfUtf8SequenceAnywhere) {
    expectReadsAlike("\xC3\xA4", true);
    expectReadsAlike("\xE2\x82\xAC", true);
    expectReadsAlike("\xF0\x9F\x94\xA7", true);
    expectReadsAlike("\xC3\xA4 and \xE2\x82\xAC and \xC3\xB6", true);
}

TEST(ManifestText, RefusesAZeroByteAnywhere) {
    expectReadsAlike(std::string(1, '\0'), false);
    expectReadsAlike(std::string("\x01\0\x01", 3), false);
}

TEST(ManifestText, RefusesWhatIsNotUtf8Anywhere) {
    expectReadsAlike("\x80", false);
    expectReadsAlike("\xFF", false);
    expectReadsAlike("\xC3", false);
    expectReadsAlike("\xC0\xAF", false);
    expectReadsAlike("\xED\xA0\x80", false);
    expectReadsAlike("\xF4\x90\x80\x80", false);
}

}  // namespace
}  // namespace Norv::Corvane::Common
