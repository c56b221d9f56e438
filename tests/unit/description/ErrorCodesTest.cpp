#include "Norv/Corvane/Common/ErrorCodes.h"

#include <cxxabi.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using namespace Norv::Corvane::Common;

static_assert(
    std::is_same_v<decltype(make_error_code(ParseFirmwareDescriptionError{})), std::error_code>);
static_assert(std::is_same_v<decltype(make_error_code(ValidationError{})), std::error_code>);
static_assert(std::is_same_v<decltype(make_error_code(XmlSecError{})), std::error_code>);
static_assert(noexcept(make_error_code(ValidationError{})));
static_assert(std::is_error_code_enum_v<ParseFirmwareDescriptionError>);
static_assert(std::is_error_code_enum_v<ValidationError>);
static_assert(std::is_error_code_enum_v<XmlSecError>);
static_assert(std::is_convertible_v<ValidationError, std::error_code>);

using Messages = std::vector<std::pair<int, std::string>>;

// Messages of all values that `expected` names, asked from the category itself.
Messages messagesOf(const std::error_category& category, const Messages& expected) {
    Messages messages;
    for (const auto& [value, text] : expected) {
        messages.emplace_back(value, category.message(value));
    }
    return messages;
}

std::string classOf(const std::error_category& category) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(typeid(category).name(), nullptr, nullptr, &status), std::free);
    return status == 0 ? name.get() : "";
}

TEST(ParseFirmwareDescriptionErrorCode, HasAFixedMessageForEachValue) {
    const Messages expected{
        {0, "success"},         {1, "missing ManufacturerId"}, {2, "missing ModelId"},
        {3, "missing Version"}, {4, "missing SystemVersion"},  {5, "missing ApplicationVersion"}};

    const auto code = make_error_code(ParseFirmwareDescriptionError::Success);
    EXPECT_STREQ(code.category().name(), "ParseFirmwareDescriptionError");
    EXPECT_EQ(messagesOf(code.category(), expected), expected);
}

TEST(ParseFirmwareDescriptionErrorCode, CallsEveryOtherValueUnknown) {
    const Messages expected{
        {6, "unknown"}, {-1, "unknown"}, {INT_MAX, "unknown"}, {INT_MIN, "unknown"}};

    const auto code = make_error_code(ParseFirmwareDescriptionError::Success);
    EXPECT_EQ(messagesOf(code.category(), expected), expected);
}

TEST(ParseFirmwareDescriptionErrorCode, NumbersItsEnumeratorsInTheOrderOfTheChecks) {
    EXPECT_EQ(make_error_code(ParseFirmwareDescriptionError::Success).value(), 0);
    EXPECT_EQ(make_error_code(ParseFirmwareDescriptionError::MissingManufacturerId).value(), 1);
    EXPECT_EQ(make_error_code(ParseFirmwareDescriptionError::MissingModelId).value(), 2);
    EXPECT_EQ(make_error_code(ParseFirmwareDescriptionError::MissingVersion).value(), 3);
    EXPECT_EQ(make_error_code(ParseFirmwareDescriptionError::MissingSystemVersion).value(), 4);
    EXPECT_EQ(make_error_code(ParseFirmwareDescriptionError::MissingApplicationVersion).value(), 5);
}

TEST(ValidationErrorCode, HasAFixedMessageForEachValue) {
    const Messages expected{{0, "success"},
                            {1, "failed to open validator"},
                            {2, "missing file 'FirmwareDescription.xml'"},
                            {3, "error in validation process"},
                            {4, "invalid signature"},
                            {5, "parsing XML failed"},
                            {6, "missing or empty FirmwareDescription tag"}};

    const auto code = make_error_code(ValidationError::Success);
    EXPECT_STREQ(code.category().name(), "ValidationError");
    EXPECT_EQ(messagesOf(code.category(), expected), expected);
}

TEST(ValidationErrorCode, CallsEveryOtherValueAnUnknownError) {
    const Messages expected{
        {7, "unknown error"}, {-1, "unknown error"}, {INT_MAX, "unknown error"}};

    const auto code = make_error_code(ValidationError::Success);
    EXPECT_EQ(messagesOf(code.category(), expected), expected);
}

TEST(ValidationErrorCode, NumbersItsEnumeratorsInTheOrderOfTheChecks) {
    EXPECT_EQ(make_error_code(ValidationError::Success).value(), 0);
    EXPECT_EQ(make_error_code(ValidationError::FailedToOpenValidator).value(), 1);
    EXPECT_EQ(make_error_code(ValidationError::MissingFirmwareDescriptionFile).value(), 2);
    EXPECT_EQ(make_error_code(ValidationError::ValidationProcessError).value(), 3);
    EXPECT_EQ(make_error_code(ValidationError::InvalidSignature).value(), 4);
    EXPECT_EQ(make_error_code(ValidationError::XmlParsingFailed).value(), 5);
    EXPECT_EQ(make_error_code(ValidationError::MissingFirmwareDescriptionTag).value(), 6);
}

TEST(ValidationErrorCode, CarriesCategoryValueAndMessageOfItsEnumerator) {
    const std::error_code code = make_error_code(ValidationError::InvalidSignature);
    EXPECT_EQ(code.value(), 4);
    EXPECT_STREQ(code.category().name(), "ValidationError");
    EXPECT_EQ(code.message(), "invalid signature");
}

TEST(XmlSecErrorCode, HasAFixedMessageForEachValue) {
    const Messages expected{{0, "success"},           {1, "init failed"},
                            {2, "wrong version"},     {3, "CryptoAppInit failed"},
                            {4, "CryptoInit failed"}, {5, "cert loading failed"}};

    const auto code = make_error_code(XmlSecError::Success);
    EXPECT_STREQ(code.category().name(), "XmlSecError");
    EXPECT_EQ(messagesOf(code.category(), expected), expected);
}

TEST(XmlSecErrorCode, CallsEveryOtherValueAnUnknownError) {
    const Messages expected{
        {-1, "unknown error"}, {6, "unknown error"}, {INT_MIN, "unknown error"}};

    const auto code = make_error_code(XmlSecError::Success);
    EXPECT_EQ(messagesOf(code.category(), expected), expected);
}

TEST(XmlSecErrorCode, NumbersItsEnumeratorsInTheOrderOfTheSteps) {
    EXPECT_EQ(make_error_code(XmlSecError::Success).value(), 0);
    EXPECT_EQ(make_error_code(XmlSecError::InitFailed).value(), 1);
    EXPECT_EQ(make_error_code(XmlSecError::WrongVersion).value(), 2);
    EXPECT_EQ(make_error_code(XmlSecError::CryptoAppInitFailed).value(), 3);
    EXPECT_EQ(make_error_code(XmlSecError::CryptoInitFailed).value(), 4);
    EXPECT_EQ(make_error_code(XmlSecError::CertLoadingFailed).value(), 5);
}

TEST(ErrorCodes, OfTheSameEnumeratorAreEqual) {
    EXPECT_EQ(make_error_code(XmlSecError::InitFailed), make_error_code(XmlSecError::InitFailed));
    EXPECT_NE(make_error_code(XmlSecError::InitFailed), make_error_code(XmlSecError::WrongVersion));
}

TEST(ErrorCodes, OfDifferentCategoriesAreUnequalWhateverTheirValues) {
    const auto validation = make_error_code(ValidationError::ValidationProcessError);
    const auto xmlSec = make_error_code(XmlSecError::CryptoAppInitFailed);
    const auto parse = make_error_code(ParseFirmwareDescriptionError::MissingVersion);
    ASSERT_EQ(validation.value(), xmlSec.value());
    ASSERT_EQ(validation.value(), parse.value());
    EXPECT_NE(validation, xmlSec);
    EXPECT_NE(validation, parse);
    EXPECT_NE(xmlSec, parse);
}

TEST(ErrorCodes, ShareOneCategoryInstancePerEnumeration) {
    EXPECT_EQ(&make_error_code(ValidationError::Success).category(),
              &make_error_code(ValidationError::XmlParsingFailed).category());
    EXPECT_EQ(&make_error_code(XmlSecError::Success).category(),
              &make_error_code(XmlSecError::CertLoadingFailed).category());
    EXPECT_EQ(&make_error_code(ParseFirmwareDescriptionError::Success).category(),
              &make_error_code(ParseFirmwareDescriptionError::MissingModelId).category());
}

TEST(ErrorCodes, OfValueZeroMeanSuccess) {
    EXPECT_FALSE(make_error_code(ValidationError::Success));
    EXPECT_FALSE(make_error_code(XmlSecError::Success));
    EXPECT_FALSE(make_error_code(ParseFirmwareDescriptionError::Success));
    EXPECT_TRUE(make_error_code(ValidationError::FailedToOpenValidator));
}

TEST(ErrorCodes, AreEquivalentToConditionsOfTheirOwnCategoryAndValueOnly) {
    const auto code = make_error_code(ValidationError::InvalidSignature);
    EXPECT_EQ(code, std::error_condition(4, code.category()));
    EXPECT_NE(code, std::error_condition(3, code.category()));
    EXPECT_NE(code, std::error_condition(4, std::generic_category()));
    EXPECT_EQ(code.default_error_condition(), std::error_condition(4, code.category()));
}

TEST(ErrorCodes, KeepTheirCategoriesInADetailNamespace) {
    EXPECT_EQ(classOf(make_error_code(ValidationError::Success).category()),
              "Norv::Corvane::Common::detail::ValidationError_category");
    EXPECT_EQ(classOf(make_error_code(XmlSecError::Success).category()),
              "Norv::Corvane::Common::detail::XmlSecError_category");
    EXPECT_EQ(classOf(make_error_code(ParseFirmwareDescriptionError::Success).category()),
              "Norv::Corvane::Common::detail::ParseFirmwareDescriptionError_category");
}

TEST(ErrorCodes, ConvertImplicitlyFromTheirEnumerators) {
    const std::error_code code = XmlSecError::CertLoadingFailed;
    EXPECT_EQ(code, make_error_code(XmlSecError::CertLoadingFailed));
    EXPECT_TRUE(code == XmlSecError::CertLoadingFailed);
}

}  // namespace
