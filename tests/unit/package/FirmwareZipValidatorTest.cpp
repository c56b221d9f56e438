#include "Norv/Corvane/Common/FirmwareZipValidator.h"

#include <gmock/gmock.h>

#include <string>
#include <type_traits>
#include <utility>

#include "LogCapture.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "PackageBuilder.h"
#include "StubValidator.h"
#include "TemporaryDirectory.h"
#include "VirtualSlot.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

static_assert(std::is_abstract_v<IFirmwareZipValidator>);
static_assert(std::has_virtual_destructor_v<IFirmwareZipValidator>);
static_assert(std::is_base_of_v<IFirmwareZipValidator, FirmwareZipValidator>);
static_assert(std::is_abstract_v<IFirmwareDescriptionValidator>);
static_assert(std::has_virtual_destructor_v<IFirmwareDescriptionValidator>);
static_assert(
    std::is_same_v<decltype(&IFirmwareZipValidator::ValidateFirmwareZipFile),
                   boost::optional<ValidatedFirmwareZip> (IFirmwareZipValidator::*)(const path&)>);
static_assert(std::is_same_v<
              decltype(&IFirmwareDescriptionValidator::ValidateSignature),
              boost::optional<bool> (IFirmwareDescriptionValidator::*)(boost::string_view) const>);
static_assert(std::is_constructible_v<FirmwareZipValidator, const IFirmwareDescriptionValidator&>);
static_assert(sizeof(FirmwareZipValidator) == 2 * sizeof(void*), "a vtable and a reference");

static_assert(std::is_aggregate_v<ValidatedFirmwareZip>);
static_assert(std::is_nothrow_move_constructible_v<FirmwarePackage>);
static_assert(std::is_move_constructible_v<ValidatedFirmwareZip>);
static_assert(std::is_move_assignable_v<ValidatedFirmwareZip>);
static_assert(!std::is_copy_constructible_v<ValidatedFirmwareZip>);
static_assert(!std::is_copy_assignable_v<ValidatedFirmwareZip>);

TEST(VirtualSlots, OfTheDescriptionValidatorBeginWithItsOperation) {
    EXPECT_EQ(virtualSlot(&IFirmwareDescriptionValidator::ValidateSignature), 0U);
}

TEST(VirtualSlots, OfTheZipValidatorBeginWithTheTwoOfItsDestructor) {
    EXPECT_EQ(virtualSlot(&IFirmwareZipValidator::ValidateFirmwareZipFile), 2U);
}

class FirmwareZipValidatorTest : public testing::Test {
protected:
    LogRecord refusal(const std::error_code& code) const {
        return {spdlog::level::err, "Invalid firmwareDescription: " + code.message(),
                "ValidateFirmwareZipFile"};
    }

    // What becomes of this package with this verdict on its signature.
    boost::optional<ValidatedFirmwareZip> validate(const path& package,
                                                   boost::optional<bool> verdict = true) const {
        const StubValidator signatures(verdict);
        return FirmwareZipValidator(signatures).ValidateFirmwareZipFile(package);
    }

    TemporaryDirectory directory;
    LogCapture log;
};

TEST_F(FirmwareZipValidatorTest, LeavesTheLogOfAFailedOpeningAlone) {
    EXPECT_FALSE(validate(directory / "missing.zip"));
    EXPECT_THAT(log.records(), SizeIs(1));
    EXPECT_EQ(log.records().front().function, "Create");
}

TEST_F(FirmwareZipValidatorTest, LogsWhyAManifestIsRefused) {
    const auto logOf = [&](const PackageBuilder& builder, boost::optional<bool> verdict) {
        const path package = builder.build(directory);
        const LogCapture own;
        EXPECT_FALSE(validate(package, verdict));
        return own.records();
    };
    PackageBuilder sound;
    sound.withoutSignature();
    EXPECT_THAT(logOf(PackageBuilder(sound).manifestEntry("x/FirmwareDescription.xml"), true),
                ElementsAre(refusal(ValidationError::MissingFirmwareDescriptionFile)));
    EXPECT_THAT(logOf(sound, boost::none),
                ElementsAre(refusal(ValidationError::ValidationProcessError)));
    EXPECT_THAT(logOf(sound, false), ElementsAre(refusal(ValidationError::InvalidSignature)));
    EXPECT_THAT(logOf(PackageBuilder().manifestText("<a>"), true),
                ElementsAre(refusal(ValidationError::XmlParsingFailed)));
    EXPECT_THAT(logOf(PackageBuilder().manifestText("<a/>"), true),
                ElementsAre(refusal(ValidationError::MissingFirmwareDescriptionTag)));
    EXPECT_THAT(logOf(PackageBuilder().manifestText("<FirmwareDescription/>"), true),
                ElementsAre(refusal(ParseFirmwareDescriptionError::MissingManufacturerId)));
}

TEST_F(FirmwareZipValidatorTest, ReturnsTheManifestAndTheOpenPackage) {
    const path package =
        PackageBuilder().withoutSignature().firmware("z", "1").firmware("a", "22").build(directory);
    auto zip = validate(package);
    ASSERT_TRUE(zip);
    EXPECT_THAT(log.records(), IsEmpty());

    auto& [description, archive] = *zip;
    ASSERT_THAT(description.files, SizeIs(2));
    EXPECT_EQ(description.files[0].localFilePath, "z");
    EXPECT_EQ(description.files[1].localFilePath, "a");
    EXPECT_EQ(description.totalLength, 3U);
    EXPECT_TRUE(archive.validate(description.files[0]));
    EXPECT_TRUE(archive.validate(description.files[1]));
}

TEST_F(FirmwareZipValidatorTest, DoesNotLookAtThePayload) {
    const path package = PackageBuilder()
                             .withoutSignature()
                             .firmware("missing", "data")
                             .firmware("damaged", "data")
                             .omit("missing")
                             .flipBit("damaged")
                             .build(directory);
    const auto zip = validate(package);
    ASSERT_TRUE(zip);
    EXPECT_THAT(zip->description.files, SizeIs(2));
    EXPECT_FALSE(zip->package.validate(zip->description.files[1]));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FirmwareZipValidatorTest, LeavesTheCallerWithoutAnArchiveOnceMoved) {
    auto zip = validate(PackageBuilder().withoutSignature().firmware("a", "1").build(directory));
    ASSERT_TRUE(zip);
    {
        const ValidatedFirmwareZip taken = *std::move(zip);
        EXPECT_EQ(zip->package.archive().handle(), nullptr);
        EXPECT_TRUE(taken.package.validate(taken.description.files.at(0)));
    }
}

TEST_F(FirmwareZipValidatorTest, ServesThroughItsInterfaceAsOftenAsItIsAsked) {
    const path package = PackageBuilder().withoutSignature().build(directory);
    const StubValidator signatures(true);
    FirmwareZipValidator validator(signatures);
    IFirmwareZipValidator& interface = validator;
    EXPECT_TRUE(interface.ValidateFirmwareZipFile(package));
    EXPECT_FALSE(interface.ValidateFirmwareZipFile(directory / "missing.zip"));
    EXPECT_TRUE(interface.ValidateFirmwareZipFile(package));
    EXPECT_THAT(signatures.texts, SizeIs(2));
}

}  // namespace
