#include "Norv/Ombrel/Project/Version.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace Norv::Ombrel::Project {
namespace {

static_assert(std::is_aggregate_v<Version>);
static_assert(std::is_trivially_copyable_v<Version>);
static_assert(
    std::is_same_v<decltype(&Version::parse), std::optional<Version> (*)(std::string_view)>);

TEST(Version, IsZeroByDefault) {
    EXPECT_EQ(Version{}, (Version{0, 0, 0, 0}));
}

TEST(Version, ParsesFourNumbersAndPrintsThemBack) {
    const auto version = Version::parse("1.2.3.4");
    ASSERT_TRUE(version);
    EXPECT_EQ(version->major, 1u);
    EXPECT_EQ(version->minor, 2u);
    EXPECT_EQ(version->patch, 3u);
    EXPECT_EQ(version->build, 4u);
    EXPECT_EQ(to_string(*version), "1.2.3.4");
}

TEST(Version, RejectsThreeNumbers) {
    EXPECT_FALSE(Version::parse("1.2.3"));
}

TEST(Version, IgnoresTextAfterTheFourthNumber) {
    EXPECT_EQ(Version::parse("1.2.3.4.5"), (Version{1, 2, 3, 4}));
    EXPECT_EQ(Version::parse("1.2.3.4-rc1"), (Version{1, 2, 3, 4}));
}

TEST(Version, AcceptsTheLargestNumberInEachPlaceAndNoneAboveIt) {
    constexpr unsigned int max = 4294967295u;
    EXPECT_EQ(Version::parse("4294967295.4294967295.4294967295.4294967295"),
              (Version{max, max, max, max}));
    EXPECT_FALSE(Version::parse("4294967296.0.0.0"));
    EXPECT_FALSE(Version::parse("0.4294967296.0.0"));
    EXPECT_FALSE(Version::parse("0.0.4294967296.0"));
    EXPECT_FALSE(Version::parse("0.0.0.4294967296"));
    EXPECT_FALSE(Version::parse("0.0.0.42949672950"));
}

TEST(Version, RejectsWhatIsNoNumber) {
    EXPECT_FALSE(Version::parse(""));
    EXPECT_FALSE(Version::parse("banana"));
    EXPECT_FALSE(Version::parse("1.2.3.-4"));
    EXPECT_FALSE(Version::parse("1..3.4"));
    EXPECT_FALSE(Version::parse("1,2,3,4"));
}

TEST(Version, CountsASignWithoutDigitsAsZeroUnlessTheTextEndsThere) {
    EXPECT_EQ(Version::parse("1.2.3.+ "), (Version{1, 2, 3, 0}));
    EXPECT_EQ(Version::parse("1.+.3.4"), (Version{1, 0, 3, 4}));
    EXPECT_FALSE(Version::parse("1.2.3.+"));
}

TEST(Version, IsReadOutOfALongerBufferWithoutLookingBehindTheView) {
    const std::string_view buffer = "1.2.3.4567";
    EXPECT_EQ(Version::parse(buffer.substr(0, 7)), (Version{1, 2, 3, 4}));
    EXPECT_FALSE(Version::parse(buffer.substr(0, 6)));
}

TEST(Version, PrintsFourUnpaddedNumbersAlways) {
    EXPECT_EQ(to_string(Version{}), "0.0.0.0");
    EXPECT_EQ(to_string(Version{10, 0, 4294967295u, 0}), "10.0.4294967295.0");
}

TEST(Version, EqualsOnlyWhenAllFourNumbersDo) {
    const Version version{1, 2, 3, 4};
    EXPECT_TRUE(version == (Version{1, 2, 3, 4}));
    EXPECT_TRUE(version != (Version{9, 2, 3, 4}));
    EXPECT_TRUE(version != (Version{1, 9, 3, 4}));
    EXPECT_TRUE(version != (Version{1, 2, 9, 4}));
    EXPECT_TRUE(version != (Version{1, 2, 3, 9}));
}

// Releases from the first to the last: no two are equal.
constexpr Version releases[] = {{0, 0, 0, 0}, {0, 0, 0, 1},          {0, 0, 1, 0}, {0, 0, 9, 9},
                                {0, 1, 0, 0}, {0, 9, 9, 9},          {1, 0, 0, 0}, {1, 2, 3, 4},
                                {1, 2, 3, 5}, {1, 2, 4, 0},          {1, 3, 0, 0}, {1, 10, 0, 0},
                                {2, 0, 0, 0}, {4294967295u, 0, 0, 0}};

TEST(Version, ComparesByTheFirstNumberThatDiffers) {
    for (const Version& a : releases) {
        for (const Version& b : releases) {
            SCOPED_TRACE(to_string(a) + " and " + to_string(b));
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a != b, &a != &b);
            EXPECT_EQ(a < b, &a < &b);
            EXPECT_EQ(a <= b, &a <= &b);
            EXPECT_EQ(a > b, &a > &b);
            EXPECT_EQ(a >= b, &a >= &b);
        }
    }
}

// Hosts can compare with a release that they know when they are compiled.
static_assert(Version{1, 2, 3, 4} == Version{1, 2, 3, 4});
static_assert(Version{1, 2, 3, 4} != Version{1, 2, 3, 5});
static_assert(Version{1, 2, 3, 4} < Version{1, 3, 0, 0} &&
              Version{1, 3, 0, 0} > Version{1, 2, 3, 4});
static_assert(Version{1, 2, 3, 4} <= Version{1, 2, 3, 4} &&
              Version{1, 2, 3, 4} >= Version{1, 2, 3, 4});
static_assert(noexcept(Version{} < Version{}));

}  // namespace
}  // namespace Norv::Ombrel::Project
