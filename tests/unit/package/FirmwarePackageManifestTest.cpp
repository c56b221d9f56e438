// The manifest of a package: how it is read, checked and passed on.

#include <boost/optional/optional_io.hpp>
#include <string>

#include "FirmwarePackageFixture.h"
#include "Norv/Corvane/Common/ErrorCodes.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using Norv::Corvane::Pack::writeArchive;
using testing::ElementsAre;
using testing::IsEmpty;
using Outcome = boost::variant<FirmwareDescription, std::error_code>;

using FirmwarePackageManifest = FirmwarePackageTest;

TEST_F(FirmwarePackageManifest, ReportsAMissingManifest) {
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(packageOf({{"a", ""}}), validator),
              ValidationError::MissingFirmwareDescriptionFile);
    EXPECT_EQ(errorOf(packageOf({{"x/FirmwareDescription.xml", soundManifest}}), validator),
              ValidationError::MissingFirmwareDescriptionFile);
    EXPECT_THAT(validator.texts, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FirmwarePackageManifest, HasTheWholeManifestJudgedOnce) {
    // More than one read, and a zero byte on the way.
    std::string text = soundManifest + std::string(1, '\0');
    text.resize(700001, 'x');
    const FirmwarePackage package = packageOf({{manifestName, text}});
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(package, validator), std::error_code());
    EXPECT_THAT(validator.texts, ElementsAre(text));
}

TEST_F(FirmwarePackageManifest, ReadsTheEntryOfTheExactNameAmongSimilarOnes) {
    const FirmwarePackage package = packageOf({{"x/FirmwareDescription.xml", "other"},
                                               {"firmwaredescription.xml", "other"},
                                               {manifestName, soundManifest}});
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(package, validator), std::error_code());
    EXPECT_THAT(validator.texts, ElementsAre(soundManifest));
}

TEST_F(FirmwarePackageManifest, ReportsASignatureThatCannotBeJudged) {
    const FirmwarePackage package = packageOf({{manifestName, "<not well-formed"}});
    EXPECT_EQ(errorOf(package, StubValidator(boost::none)),
              ValidationError::ValidationProcessError);
}

TEST_F(FirmwarePackageManifest, ReportsAWrongSignatureBeforeAnythingElse) {
    const FirmwarePackage package = packageOf({{manifestName, "<not well-formed"}});
    EXPECT_EQ(errorOf(package, StubValidator(false)), ValidationError::InvalidSignature);
}

TEST_F(FirmwarePackageManifest, LeavesTheVerdictOnAnEmptyManifestToTheValidator) {
    const FirmwarePackage package = packageOf({{manifestName, ""}});
    const StubValidator undecided(boost::none);
    EXPECT_EQ(errorOf(package, undecided), ValidationError::ValidationProcessError);
    EXPECT_THAT(undecided.texts, ElementsAre(""));
    EXPECT_EQ(errorOf(package, StubValidator(false)), ValidationError::InvalidSignature);
    EXPECT_EQ(errorOf(package, StubValidator(true)), ValidationError::XmlParsingFailed);
}

TEST_F(FirmwarePackageManifest, ReportsAManifestThatIsNotWellFormed) {
    EXPECT_EQ(errorOfManifest("<FirmwareDescription>"), ValidationError::XmlParsingFailed);
    EXPECT_EQ(errorOfManifest("no markup"), ValidationError::XmlParsingFailed);
}

TEST_F(FirmwarePackageManifest, ReportsAnotherTopLevelElement) {
    EXPECT_EQ(errorOfManifest("<Firmware/>"), ValidationError::MissingFirmwareDescriptionTag);
    EXPECT_EQ(errorOfManifest(std::string("<Wrapper>") + soundManifest + "</Wrapper>"),
              ValidationError::MissingFirmwareDescriptionTag);
}

TEST_F(FirmwarePackageManifest, PassesTheParsersErrorsOn) {
    using Error = ParseFirmwareDescriptionError;
    EXPECT_EQ(errorOfManifest("<FirmwareDescription/>"), Error::MissingManufacturerId);
    EXPECT_EQ(errorOfManifest("<FirmwareDescription></FirmwareDescription>"),
              Error::MissingManufacturerId);
    EXPECT_EQ(errorOfManifest(R"(<FirmwareDescription><ManufacturerId Value=""/>)"
                              R"(<ModelId Value=""/></FirmwareDescription>)"),
              Error::MissingVersion);
}

TEST_F(FirmwarePackageManifest, ReturnsTheParsedManifest) {
    const FirmwarePackage package = packageOf({{manifestName, soundManifest}});
    const Outcome outcome = package.validateAndGetFirmwareDescription(StubValidator(true));
    const auto* const description = boost::get<FirmwareDescription>(&outcome);
    ASSERT_NE(description, nullptr);
    EXPECT_EQ(to_string(description->version), "1.2.3.4");
}

TEST_F(FirmwarePackageManifest, ReadsTheManifestAsUtf8WhateverEncodingItDeclares) {
    std::string text = R"(<?xml version="1.0" encoding="ISO-8859-1"?>)";
    text += soundManifest;
    text.insert(text.rfind("</"), "<SupportedHwRevs><HwRev Value=\"\xc3\xa4\"/></SupportedHwRevs>");
    const FirmwarePackage package = packageOf({{manifestName, text}});
    const Outcome outcome = package.validateAndGetFirmwareDescription(StubValidator(true));
    const auto* const description = boost::get<FirmwareDescription>(&outcome);
    ASSERT_NE(description, nullptr);
    EXPECT_THAT(description->supportedHwRevs, ElementsAre("\xc3\xa4"));
}

// As the parser does by default: the signature was checked on the same reading.
TEST_F(FirmwarePackageManifest, ResolvesReferencesAndTurnsBlanksInAttributesIntoSpaces) {
    std::string text = soundManifest;
    text.insert(text.rfind("</"),
                "<SupportedHwRevs><HwRev Value=\" a&amp;&#10;b\tc\nd  e \"/></SupportedHwRevs>");
    const FirmwarePackage package = packageOf({{manifestName, text}});
    const Outcome outcome = package.validateAndGetFirmwareDescription(StubValidator(true));
    const auto* const description = boost::get<FirmwareDescription>(&outcome);
    ASSERT_NE(description, nullptr);
    EXPECT_THAT(description->supportedHwRevs, ElementsAre(" a&\nb c d  e "));
}

TEST_F(FirmwarePackageManifest, HasJudgedWhatOneReadDeliversOfADamagedManifest) {
    std::string text;
    for (int i = 0; text.size() < 600000; ++i) {
        text += std::to_string(i);
    }
    writeArchive((directory / "package.zip").native(), {{manifestName, text}});
    std::string bytes = readFile(directory / "package.zip");
    bytes.replace(bytes.size() * 3 / 4, 64, 64, '\xff');
    const auto package = FirmwarePackage::Create(directory.write("bad.zip", bytes));
    ASSERT_TRUE(package);
    const std::string delivered = package->archive().open(manifestName).read(text.size());
    ASSERT_GT(delivered.size(), 256U * 1024);
    ASSERT_LT(delivered.size(), text.size());
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(*package, validator), ValidationError::XmlParsingFailed);
    ASSERT_EQ(validator.texts.size(), 1U);
    EXPECT_TRUE(validator.texts[0] == delivered) << "of " << validator.texts[0].size() << " bytes";
}

TEST_F(FirmwarePackageManifest, ReadsAManifestOf64MiB) {
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(packageOf({{manifestName, std::string(64U << 20U, ' ')}}), validator),
              ValidationError::XmlParsingFailed);
    EXPECT_THAT(validator.texts, ElementsAre(testing::SizeIs(64U << 20U)));
}

TEST_F(FirmwarePackageManifest, RefusesToReadAManifestOfMoreThan64MiB) {
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(packageOf({{manifestName, std::string((64U << 20U) + 1, ' ')}}), validator),
              ValidationError::ValidationProcessError);
    EXPECT_THAT(validator.texts, IsEmpty());
}

}  // namespace
