#include "Norv/Ombrel/Project/DeviceType.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace Norv::Ombrel::Project {
namespace {

using Type = DeviceType::Type;

static_assert(std::is_same_v<std::underlying_type_t<Type>, std::uint8_t>);
static_assert(std::is_convertible_v<Type, DeviceType>);
static_assert(std::is_same_v<decltype(to_string(Type::None)), std::string_view>);

struct Model {
    Type type;
    int value;
    std::string_view code;
};

constexpr Model models[] = {
    {Type::QA01RTVN, 1, "QA01RTVN"}, {Type::WOLMZB04, 2, "WOLMZB04"},
    {Type::PD02JNSH, 3, "PD02JNSH"}, {Type::PD03JNSH, 4, "PD03JNSH"},
    {Type::RTVNUY01, 5, "RTVNUY01"},
};

TEST(DeviceType, KnowsFiveModelsWithFixedNumbersAndCodes) {
    EXPECT_EQ(static_cast<int>(Type::None), 0);
    for (const Model& model : models) {
        EXPECT_EQ(static_cast<int>(model.type), model.value);
        EXPECT_EQ(to_string(model.type), model.code);
        EXPECT_EQ(DeviceType::parse(model.code, std::nullopt), DeviceType(model.type));
    }
}

TEST(DeviceType, ParsesACodeWithAndWithoutTheManufacturerPrefix) {
    EXPECT_EQ(DeviceType::parse("QVQA01RTVN", std::nullopt), DeviceType(Type::QA01RTVN));
    EXPECT_EQ(DeviceType::parse("QA01RTVN", std::nullopt), DeviceType(Type::QA01RTVN));
}

TEST(DeviceType, DropsThePrefixOnlyOnce) {
    EXPECT_FALSE(DeviceType::parse("QVQVQA01RTVN", std::nullopt));
}

TEST(DeviceType, DropsNoOtherPrefix) {
    EXPECT_FALSE(DeviceType::parse("qvQA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QXQA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("XVQA01RTVN", std::nullopt));
}

TEST(DeviceType, MindsLetterCase) {
    EXPECT_FALSE(DeviceType::parse("qa01rtvn", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QVqa01rtvn", std::nullopt));
}

TEST(DeviceType, RejectsThePrefixAloneAndShorterTexts) {
    EXPECT_FALSE(DeviceType::parse("", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("Q", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QV", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QVQV", std::nullopt));
}

TEST(DeviceType, ComparesTheWholeCode) {
    EXPECT_FALSE(DeviceType::parse("QA01RTVN ", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QA01RTVN1", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QA01RTV", std::nullopt));
    EXPECT_FALSE(DeviceType::parse(" QA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse(std::string_view("QA01RTVN\0", 9), std::nullopt));
}

TEST(DeviceType, AcceptsOnlyTheOneManufacturer) {
    EXPECT_EQ(DeviceType::parse("QV", "QA01RTVN", std::nullopt), DeviceType(Type::QA01RTVN));
    EXPECT_FALSE(DeviceType::parse("qv", "QA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QV ", "QA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("", "QA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QVQV", "QA01RTVN", std::nullopt));
    EXPECT_FALSE(DeviceType::parse("QV", "unknown!", std::nullopt));
}

TEST(DeviceType, AllowsThePrefixInTheModelBesideTheManufacturer) {
    EXPECT_EQ(DeviceType::parse("QV", "QVWOLMZB04", std::nullopt), DeviceType(Type::WOLMZB04));
}

TEST(DeviceType, HasNoTextForNoneAndUnknownValues) {
    for (const Type type : {Type::None, static_cast<Type>(6), static_cast<Type>(255)}) {
        EXPECT_EQ(to_string(type).data(), nullptr);
        EXPECT_EQ(to_string(type).size(), 0u);
    }
}

TEST(DeviceType, CarriesTheQualifierUnchanged) {
    const std::string qualifier = "a qualifier, longer than a small string; \t with blanks ";
    EXPECT_EQ(DeviceType::parse("QA01RTVN", qualifier)->qualifier, qualifier);
    EXPECT_EQ(DeviceType::parse("QV", "QA01RTVN", qualifier)->qualifier, qualifier);
    EXPECT_EQ(DeviceType::parse("QA01RTVN", "")->qualifier, "");
    EXPECT_EQ(DeviceType(Type::None, qualifier).qualifier, qualifier);
    EXPECT_EQ(DeviceType(Type::WOLMZB04).qualifier, std::nullopt);
}

TEST(DeviceType, MovesTheQualifierIntoTheResult) {
    std::string qualifier = "a qualifier that is too long to be stored in the string itself";
    const char* const characters = qualifier.data();
    const auto type = DeviceType::parse("QV", "QA01RTVN", std::move(qualifier));
    EXPECT_EQ(static_cast<const void*>(type->qualifier->data()), characters);
}

TEST(DeviceType, EqualsOnlyWithTheSameQualifier) {
    EXPECT_TRUE(DeviceType(Type::QA01RTVN, "a") == DeviceType(Type::QA01RTVN, "a"));
    EXPECT_TRUE(DeviceType(Type::QA01RTVN, "a") != DeviceType(Type::QA01RTVN, "b"));
    EXPECT_TRUE(DeviceType(Type::QA01RTVN, "a") != DeviceType(Type::QA01RTVN));
    EXPECT_TRUE(DeviceType(Type::QA01RTVN) != DeviceType(Type::WOLMZB04));
}

}  // namespace
}  // namespace Norv::Ombrel::Project
