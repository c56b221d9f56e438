// Logical names, object URNs, object ids and binary data.

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "Norv/Ombrel/Project/BinaryData.h"
#include "Norv/Ombrel/Project/LogicalName.h"
#include "Norv/Ombrel/Project/ObjectId.h"
#include "Norv/Ombrel/Project/ObjectUrn.h"

namespace Norv::Ombrel::Project {
namespace {

static_assert(!std::is_convertible_v<std::string, LogicalName>);
static_assert(!std::is_convertible_v<std::string, ObjectUrn>);
static_assert(!std::is_convertible_v<std::uint32_t, ObjectId>);
static_assert(!std::is_convertible_v<std::string, BinaryData>);
static_assert(sizeof(ObjectId) == sizeof(std::uint32_t));
static_assert(std::is_trivially_copyable_v<ObjectId>);
static_assert(ObjectId(7).GetValue() == 7);
static_assert(
    std::is_same_v<decltype(std::declval<const BinaryData&>().GetData()), const std::string&>);
static_assert(std::is_same_v<decltype(to_string(std::declval<const LogicalName&>())), std::string>);

// Too long to be stored in the string itself.
constexpr const char* longText = "the name of something in the second basement, behind the boiler";

template <typename T>
class TextHolder : public testing::Test {};

using TextHolders = testing::Types<LogicalName, ObjectUrn>;
struct NamesOfTextHolders {
    template <typename T>
    static std::string GetName(int) {
        return std::is_same_v<T, LogicalName> ? "LogicalName" : "ObjectUrn";
    }
};
TYPED_TEST_SUITE(TextHolder, TextHolders, NamesOfTextHolders);

TYPED_TEST(TextHolder, KeepsTextAsItIs) {
    EXPECT_EQ(TypeParam(" a_b.C ").GetText(), " a_b.C ");
    EXPECT_EQ(TypeParam("").GetText(), "");
}

TYPED_TEST(TextHolder, MovesTextInAndOut) {
    std::string text = longText;
    const void* const characters = text.data();
    TypeParam holder(std::move(text));
    EXPECT_EQ(holder.GetText().data(), characters);
    const std::string out = std::move(holder).GetText();
    EXPECT_EQ(out.data(), characters);
    EXPECT_EQ(out, longText);
}

TYPED_TEST(TextHolder, ComparesExactly) {
    EXPECT_TRUE(TypeParam("Hall") == TypeParam("Hall"));
    EXPECT_TRUE(TypeParam("Hall") != TypeParam("hall"));
    EXPECT_TRUE(TypeParam("Hall") != TypeParam("Hall "));
}

TEST(LogicalName, PrintsBehindItsPrefix) {
    EXPECT_EQ(to_string(LogicalName("Living Room ")), "Name: Living Room ");
    EXPECT_EQ(to_string(LogicalName("")), "Name: ");
}

TEST(ObjectUrn, PrintsBehindItsPrefix) {
    EXPECT_EQ(to_string(ObjectUrn("urn:a:b_c")), "URN: urn:a:b_c");
    EXPECT_EQ(to_string(ObjectUrn("")), "URN: ");
}

TEST(ObjectId, PrintsInUnsignedDecimalBehindItsPrefix) {
    EXPECT_EQ(to_string(ObjectId(0)), "OID: 0");
    EXPECT_EQ(to_string(ObjectId(1234567)), "OID: 1234567");
    EXPECT_EQ(to_string(ObjectId(4294967295u)), "OID: 4294967295");
}

TEST(ObjectId, ComparesByValue) {
    EXPECT_TRUE(ObjectId(1) == ObjectId(1));
    EXPECT_TRUE(ObjectId(1) != ObjectId(2));
}

TEST(BinaryData, KeepsAnyBytes) {
    const std::string bytes("\0a\xff\0", 4);
    const BinaryData data(bytes);
    EXPECT_EQ(data.GetData(), bytes);
    EXPECT_EQ(data.GetData().size(), 4u);
    EXPECT_EQ(BinaryData("").GetData(), "");
}

TEST(BinaryData, MovesItsBytesInAndShowsThemInPlace) {
    std::string bytes = longText;
    const void* const characters = bytes.data();
    const BinaryData data(std::move(bytes));
    EXPECT_EQ(data.GetData().data(), characters);
    EXPECT_EQ(&data.GetData(), &data.GetData());
}

TEST(BinaryData, ComparesAllBytes) {
    EXPECT_TRUE(BinaryData(std::string("a\0b", 3)) == BinaryData(std::string("a\0b", 3)));
    EXPECT_TRUE(BinaryData(std::string("a\0b", 3)) != BinaryData(std::string("a\0c", 3)));
}

}  // namespace
}  // namespace Norv::Ombrel::Project
