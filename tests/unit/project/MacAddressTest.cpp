#include "Norv/Ombrel/Project/MacAddress.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace Norv::Ombrel::Project {
namespace {

static_assert(std::is_aggregate_v<MacAddress>);
static_assert(std::is_trivially_copyable_v<MacAddress>);
static_assert(sizeof(MacAddress) == 6);
static_assert(
    std::is_same_v<decltype(&MacAddress::parse), std::optional<MacAddress> (*)(std::string_view)>);

constexpr MacAddress example{{0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0x5e}};

std::string formatted(const std::string& format) {
    return fmt::format(fmt::runtime(format), example);
}

TEST(MacAddress, ParsesTwelveDigitsOfEitherCaseLikeTheSeparatedForm) {
    EXPECT_EQ(MacAddress::parse("001A2B3C4D5E"), example);
    EXPECT_EQ(MacAddress::parse("001a2b3c4d5e"), example);
    EXPECT_EQ(MacAddress::parse("00:1A:2B:3C:4D:5E"), example);
}

TEST(MacAddress, ReadsTwelveCharactersWithAColonAsTheSeparatedForm) {
    // As pairs, the first would be an address and the others would be none, or another one.
    EXPECT_FALSE(MacAddress::parse("001a2b3c4d5:"));
    EXPECT_EQ(MacAddress::parse("01:2:3:4:5:6"), (MacAddress{{1, 2, 3, 4, 5, 6}}));
    EXPECT_EQ(MacAddress::parse("1:2: 3:4:5:6"), (MacAddress{{1, 2, 3, 4, 5, 6}}));
}

TEST(MacAddress, AcceptsOctetsOfOneDigitWhenSeparated) {
    EXPECT_EQ(MacAddress::parse("0:1:2:3:4:5"), (MacAddress{{0, 1, 2, 3, 4, 5}}));
}

TEST(MacAddress, RejectsAnythingAfterTheSixthSeparatedOctet) {
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4:5:6"));
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4:5:"));
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4:5 "));
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4:5x"));
    EXPECT_FALSE(MacAddress::parse(std::string_view("0:1:2:3:4:5\0", 12)));
}

TEST(MacAddress, RejectsFewerThanSixOctets) {
    EXPECT_FALSE(MacAddress::parse(""));
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4"));
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4:"));
}

TEST(MacAddress, RejectsAnOctetAbove255) {
    EXPECT_FALSE(MacAddress::parse("100:1:2:3:4:5"));
    EXPECT_FALSE(MacAddress::parse("0:1:2:3:4:fff"));
    EXPECT_EQ(MacAddress::parse("0ff:1:2:3:4:5"), (MacAddress{{0xff, 1, 2, 3, 4, 5}}));
}

TEST(MacAddress, RejectsElevenAndThirteenDigitsWithoutSeparators) {
    EXPECT_FALSE(MacAddress::parse("001a2b3c4d5"));
    EXPECT_FALSE(MacAddress::parse("001a2b3c4d5e6"));
}

TEST(MacAddress, CountsAPairWhoseSecondCharacterIsNoDigit) {
    EXPECT_EQ(MacAddress::parse("001a2b3c4d5g"), (MacAddress{{0x00, 0x1a, 0x2b, 0x3c, 0x4d, 5}}));
    EXPECT_EQ(MacAddress::parse("0x0x0x0x0x0x"), MacAddress{});
    EXPECT_FALSE(MacAddress::parse("001a2b3c4dg5"));
}

TEST(MacAddress, CountsASignWithoutDigitsAsZeroUnlessTheTextEndsThere) {
    EXPECT_EQ(MacAddress::parse("+ 0123456789"),
              (MacAddress{{0x00, 0x01, 0x23, 0x45, 0x67, 0x89}}));
    EXPECT_EQ(MacAddress::parse("+x0102030405"), (MacAddress{{0, 1, 2, 3, 4, 5}}));
    EXPECT_EQ(MacAddress::parse("1:2:3:4:+:6"), (MacAddress{{1, 2, 3, 4, 0, 6}}));
    EXPECT_FALSE(MacAddress::parse(" +0102030405"));
    EXPECT_FALSE(MacAddress::parse("1:2:3:4:5:+"));
}

TEST(MacAddress, FormatsInPairsWithColonsByDefault) {
    EXPECT_EQ(formatted("{}"), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(formatted("{:}"), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(formatted("{:h}"), "00:1a:2b:3c:4d:5e");
}

TEST(MacAddress, FormatsTwelveDigitsInTheCompactPresentation) {
    EXPECT_EQ(formatted("<{:c}>"), "<001a2b3c4d5e>");
}

TEST(MacAddress, KeepsThePresentationsOfSeveralFieldsApart) {
    EXPECT_EQ(fmt::format("{0:c} {0} {0:h} {0:c}", example),
              "001a2b3c4d5e 00:1a:2b:3c:4d:5e 00:1a:2b:3c:4d:5e 001a2b3c4d5e");
}

TEST(MacAddress, IgnoresTheCaseOfDigitsOnlyWhenParsing) {
    EXPECT_EQ(fmt::format("{:c}", *MacAddress::parse("ABCDEFABCDEF")), "abcdefabcdef");
}

TEST(MacAddress, ThrowsForEveryOtherFormatSpecification) {
    for (const char* const format :
         {"{:x}", "{:cc}", "{:hh}", "{:ch}", "{:C}", "{:c }", "{:>20}"}) {
        try {
            formatted(format);
            ADD_FAILURE() << format << " was accepted";
        } catch (const fmt::format_error& error) {
            EXPECT_STREQ(error.what(), "invalid format") << format;
        }
    }
}

TEST(MacAddress, ParsesASpecificationThatEndsWithoutABrace) {
    const auto presentation = [](std::string_view specification) {
        fmt::formatter<MacAddress> formatter;
        fmt::format_parse_context context({specification.data(), specification.size()});
        EXPECT_EQ(formatter.parse(context), context.end());
        fmt::memory_buffer buffer;
        fmt::format_context output(fmt::appender(buffer), {});
        formatter.format(example, output);
        return fmt::to_string(buffer);
    };
    EXPECT_EQ(presentation(""), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(presentation("h"), "00:1a:2b:3c:4d:5e");
    EXPECT_EQ(presentation("c"), "001a2b3c4d5e");
}

TEST(MacAddress, EqualsOnlyWhenAllOctetsDo) {
    MacAddress other = example;
    EXPECT_TRUE(other == example);
    other.bytes[5] = 0;
    EXPECT_TRUE(other != example);
}

}  // namespace
}  // namespace Norv::Ombrel::Project
