#include "Norv/Corvane/Common/FirmwarePackage.h"

#include <gmock/gmock.h>
#include <spdlog/spdlog.h>

#include <boost/optional/optional_io.hpp>
#include <csignal>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "Archive.h"
#include "Digest.h"
#include "LogCapture.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Process.h"
#include "StubValidator.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
using Norv::Corvane::Pack::ArchiveEntry;
using Norv::Corvane::Pack::digestBytes;
using Norv::Corvane::Pack::writeArchive;
using testing::ElementsAre;
using testing::IsEmpty;
using File = FirmwareDescription::File;
using Outcome = boost::variant<FirmwareDescription, std::error_code>;

static_assert(std::is_same_v<decltype(&FirmwarePackage::Create),
                             boost::optional<FirmwarePackage> (*)(const path&)>);
static_assert(std::is_same_v<decltype(&FirmwarePackage::validate),
                             bool (FirmwarePackage::*)(const File&) const>);
static_assert(std::is_same_v<decltype(&FirmwarePackage::validateSHA256),
                             bool (FirmwarePackage::*)(libzip::file, const File&) const>);
static_assert(
    std::is_same_v<decltype(&FirmwarePackage::validateAndGetFirmwareDescription),
                   Outcome (FirmwarePackage::*)(const IFirmwareDescriptionValidator&) const>);
static_assert(std::is_constructible_v<FirmwarePackage, libzip::archive>);
static_assert(!std::is_convertible_v<libzip::archive, FirmwarePackage>, "explicit");
static_assert(!std::is_convertible_v<FirmwarePackage, bool>, "explicit");
static_assert(noexcept(static_cast<bool>(std::declval<const FirmwarePackage&>())));
static_assert(std::is_nothrow_move_constructible_v<FirmwarePackage>);
static_assert(std::is_nothrow_move_assignable_v<FirmwarePackage>);
static_assert(!std::is_copy_constructible_v<FirmwarePackage>);
static_assert(!std::is_copy_assignable_v<FirmwarePackage>);
static_assert(!std::is_polymorphic_v<FirmwarePackage>);
static_assert(sizeof(FirmwarePackage) == sizeof(libzip::archive));

constexpr const char* manifestName = "FirmwareDescription.xml";
constexpr const char* soundManifest =
    R"(<FirmwareDescription><ManufacturerId Value="QV"/><ModelId Value="WOLMZB04"/>)"
    R"(<Version Value="1.2.3.4"/><SystemVersion Value="1.0.0.0"/>)"
    R"(<ApplicationVersion Value="1.0.0.1"/></FirmwareDescription>)";

File recordOf(std::string name, std::vector<std::uint8_t> digest) {
    File file;
    file.localFilePath = std::move(name);
    file.hashValue = std::move(digest);
    return file;
}

std::vector<std::uint8_t> digestOf(std::string_view bytes) {
    return digestBytes(bytes).sha256;
}

class FirmwarePackageTest : public testing::Test {
protected:
    FirmwarePackage packageOf(const std::vector<ArchiveEntry>& entries) const {
        const path file = directory / "package.zip";
        writeArchive(file.native(), entries);
        boost::optional<FirmwarePackage> package = FirmwarePackage::Create(file);
        return *std::move(package);
    }

    static std::error_code errorOf(const FirmwarePackage& package,
                                   const IFirmwareDescriptionValidator& validator) {
        const Outcome outcome = package.validateAndGetFirmwareDescription(validator);
        const auto* const error = boost::get<std::error_code>(&outcome);
        return error != nullptr ? *error : std::error_code();
    }

    std::error_code errorOfManifest(const std::string& text) const {
        return errorOf(packageOf({{manifestName, text}}), StubValidator(true));
    }

    TemporaryDirectory directory;
    LogCapture log;
};

TEST_F(FirmwarePackageTest, OpensAPackage) {
    writeArchive((directory / "package.zip").native(), {{"entry", "data"}});
    EXPECT_TRUE(FirmwarePackage::Create(directory / "package.zip"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FirmwarePackageTest, LogsOnceWhyAPathCannotBeOpened) {
    directory.write("text", "no zip archive\n");
    directory.write("empty-not", "PK\x05\x06 cut off");
    for (const char* name : {"missing", "text", "empty-not", ""}) {
        const path file = directory / name;
        std::string reason;
        try {
            libzip::archive(file.native(), ZIP_RDONLY);
        } catch (const std::runtime_error& error) {
            reason = error.what();
        }
        ASSERT_NE(reason, "");
        const LogCapture own;
        EXPECT_FALSE(FirmwarePackage::Create(file)) << file;
        EXPECT_THAT(own.records(),
                    ElementsAre(LogRecord{spdlog::level::err,
                                          "Faild to open " + file.native() + " (" + reason + ")",
                                          "Create"}));
    }
}

TEST_F(FirmwarePackageTest, LogsItsPlaceInTheSourceWhereverThatWasBuilt) {
    EXPECT_FALSE(FirmwarePackage::Create(directory / "missing"));
    const LogRecord record = log.records().at(0);
    EXPECT_THAT(record.file, testing::EndsWith("src/FirmwarePackage.cpp"));
    EXPECT_THAT(record.file, testing::Not(testing::StartsWith("/")));
    EXPECT_GT(record.line, 0);
}

TEST_F(FirmwarePackageTest, FailsInSilenceForAHostWithoutALogger) {
    const auto before = spdlog::default_logger();
    spdlog::set_default_logger(nullptr);
    EXPECT_FALSE(FirmwarePackage::Create(directory / "missing"));
    spdlog::set_default_logger(before);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FirmwarePackageTest, LogsNothingBelowTheLevelOfTheHost) {
    spdlog::default_logger_raw()->set_level(spdlog::level::off);
    EXPECT_FALSE(FirmwarePackage::Create(directory / "missing"));
    EXPECT_THAT(log.allRecords(), IsEmpty());
}

TEST_F(FirmwarePackageTest, LogsBracesInAPathAsTheyAre) {
    EXPECT_FALSE(FirmwarePackage::Create(directory / "{}{0}%s"));
    EXPECT_THAT(log.records().at(0).message, testing::HasSubstr("/{}{0}%s ("));
}

TEST_F(FirmwarePackageTest, RefusesATruncatedPackage) {
    writeArchive((directory / "package.zip").native(), {{manifestName, soundManifest}});
    const std::string bytes = readFile(directory / "package.zip");
    for (const std::size_t size : {std::size_t{1}, bytes.size() / 2, bytes.size() - 1}) {
        const LogCapture own;
        EXPECT_FALSE(FirmwarePackage::Create(directory.write("cut.zip", bytes.substr(0, size))));
        EXPECT_EQ(own.records().size(), 1U);
    }
}

TEST_F(FirmwarePackageTest, ChangesNothingOnDisk) {
    const path file = directory / "package.zip";
    writeArchive(file.native(), {{manifestName, soundManifest}});
    const std::string before = readFile(file);
    {
        const auto package = FirmwarePackage::Create(file);
        EXPECT_EQ(errorOf(*package, StubValidator(true)), std::error_code());
    }
    EXPECT_EQ(readFile(file), before);
    EXPECT_THAT(directory.files(), ElementsAre("package.zip"));
}

TEST_F(FirmwarePackageTest, IsTrueWhenItHoldsAManifestAtTheTop) {
    EXPECT_TRUE(static_cast<bool>(packageOf({{"a", ""}, {manifestName, ""}})));
    EXPECT_FALSE(static_cast<bool>(packageOf({{"a", ""}})));
    EXPECT_FALSE(static_cast<bool>(packageOf({{"x/FirmwareDescription.xml", soundManifest}})));
    EXPECT_FALSE(static_cast<bool>(packageOf({{"firmwaredescription.xml", soundManifest}})));
}

TEST_F(FirmwarePackageTest, TakesOverAnArchive) {
    const path file = directory / "package.zip";
    writeArchive(file.native(), {{manifestName, ""}});
    libzip::archive archive(file.native(), ZIP_RDONLY);
    const FirmwarePackage package(std::move(archive));
    EXPECT_EQ(archive.handle(), nullptr);
    EXPECT_TRUE(static_cast<bool>(package));
}

TEST_F(FirmwarePackageTest, HandsItsArchiveOverWhenItIsMoved) {
    FirmwarePackage source = packageOf({{manifestName, soundManifest}});
    const FirmwarePackage target = std::move(source);
    EXPECT_EQ(source.archive().handle(), nullptr);
    EXPECT_EQ(errorOf(target, StubValidator(true)), std::error_code());
}

TEST_F(FirmwarePackageTest, ComparesTheDigestOfAnEntry) {
    const std::string data(3 * 524288 + 17, 'd');
    const FirmwarePackage package = packageOf({{"app", data}, {"other", "x"}});
    EXPECT_TRUE(package.validate(recordOf("app", digestOf(data))));
    EXPECT_FALSE(package.validate(recordOf("other", digestOf(data))));
    EXPECT_FALSE(package.validate(recordOf("app", digestOf(data.substr(1)))));
}

TEST_F(FirmwarePackageTest, ComparesDigestsOfWholeReadsToo) {
    const std::string data(524288, 'd');
    const FirmwarePackage package = packageOf({{"app", data}});
    EXPECT_TRUE(package.validate(recordOf("app", digestOf(data))));
}

TEST_F(FirmwarePackageTest, ComparesEveryByteOfTheDigest) {
    const FirmwarePackage package = packageOf({{"app", "data"}});
    for (std::size_t at = 0; at < 32; ++at) {
        std::vector<std::uint8_t> digest = digestOf("data");
        digest[at] ^= 1U;
        EXPECT_FALSE(package.validate(recordOf("app", digest))) << at;
    }
}

TEST_F(FirmwarePackageTest, DoesNotLookAtTheLengthNorAtTheRemotePath) {
    const FirmwarePackage package = packageOf({{"app", "data"}});
    File file = recordOf("app", digestOf("data"));
    file.length = 12345;
    file.remoteFilePath = "elsewhere";
    EXPECT_TRUE(package.validate(file));
}

TEST_F(FirmwarePackageTest, RefusesDigestsThatAreNot32BytesLong) {
    const FirmwarePackage package = packageOf({{"app", "data"}});
    std::vector<std::uint8_t> digest = digestOf("data");
    digest.push_back(0);
    EXPECT_FALSE(package.validate(recordOf("app", digest)));
    digest.resize(31);
    EXPECT_FALSE(package.validate(recordOf("app", digest))) << "a prefix of the true digest";
    EXPECT_FALSE(package.validate(recordOf("app", {})));
}

TEST_F(FirmwarePackageTest, EndsTheProcessForAnAlgorithmThatDoesNotExist) {
    GTEST_FLAG_SET(death_test_style, deathTestStyle());
    const FirmwarePackage package = packageOf({{"app", "data"}});
    File file = recordOf("app", digestOf("data"));
    file.hashAlgorithm = static_cast<HashAlgorithm>(7);
    EXPECT_EXIT(package.validate(file), testing::KilledBySignal(SIGABRT), "");
}

TEST_F(FirmwarePackageTest, ThrowsLibzipsTextForAnEntryThatIsNotThere) {
    const FirmwarePackage package = packageOf({{"app", "data"}});
    try {
        package.validate(recordOf("missing", digestOf("data")));
        FAIL() << "nothing was thrown";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), zip_strerror(package.archive().handle()));
    }
}

TEST_F(FirmwarePackageTest, ComparesAnEmptyEntryWithTheDigestOfNoBytes) {
    const FirmwarePackage package = packageOf({{"empty", ""}});
    EXPECT_TRUE(package.validateSHA256(package.archive().open("empty"),
                                       recordOf("any name", digestOf(""))));
    EXPECT_FALSE(
        package.validateSHA256(package.archive().open("empty"), recordOf("empty", digestOf("x"))));
}

TEST_F(FirmwarePackageTest, TakesAReadErrorForAMismatch) {
    const path file = directory / "package.zip";
    writeArchive(file.native(), {{"app", "payload", false}});
    // A wrong checksum in the directory of the archive: all data is right, the last read is not.
    std::string bytes = readFile(file);
    bytes[bytes.find("PK\x01\x02") + 16] ^= 1;
    const auto package = FirmwarePackage::Create(directory.write("bad.zip", bytes));
    ASSERT_TRUE(package);
    EXPECT_FALSE(package->validate(recordOf("app", digestOf("payload"))));
}

TEST_F(FirmwarePackageTest, ReportsAMissingManifest) {
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(packageOf({{"a", ""}}), validator),
              ValidationError::MissingFirmwareDescriptionFile);
    EXPECT_EQ(errorOf(packageOf({{"x/FirmwareDescription.xml", soundManifest}}), validator),
              ValidationError::MissingFirmwareDescriptionFile);
    EXPECT_THAT(validator.texts, IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FirmwarePackageTest, HasTheWholeManifestJudgedOnce) {
    // More than one read, and a zero byte on the way.
    std::string text = soundManifest + std::string(1, '\0');
    text.resize(700001, 'x');
    const FirmwarePackage package = packageOf({{manifestName, text}});
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(package, validator), std::error_code());
    EXPECT_THAT(validator.texts, ElementsAre(text));
}

TEST_F(FirmwarePackageTest, ReportsASignatureThatCannotBeJudged) {
    const FirmwarePackage package = packageOf({{manifestName, "<not well-formed"}});
    EXPECT_EQ(errorOf(package, StubValidator(boost::none)),
              ValidationError::ValidationProcessError);
}

TEST_F(FirmwarePackageTest, ReportsAWrongSignatureBeforeAnythingElse) {
    const FirmwarePackage package = packageOf({{manifestName, "<not well-formed"}});
    EXPECT_EQ(errorOf(package, StubValidator(false)), ValidationError::InvalidSignature);
}

TEST_F(FirmwarePackageTest, LeavesTheVerdictOnAnEmptyManifestToTheValidator) {
    const FirmwarePackage package = packageOf({{manifestName, ""}});
    const StubValidator undecided(boost::none);
    EXPECT_EQ(errorOf(package, undecided), ValidationError::ValidationProcessError);
    EXPECT_THAT(undecided.texts, ElementsAre(""));
    EXPECT_EQ(errorOf(package, StubValidator(false)), ValidationError::InvalidSignature);
    EXPECT_EQ(errorOf(package, StubValidator(true)), ValidationError::XmlParsingFailed);
}

TEST_F(FirmwarePackageTest, ReportsAManifestThatIsNotWellFormed) {
    EXPECT_EQ(errorOfManifest("<FirmwareDescription>"), ValidationError::XmlParsingFailed);
    EXPECT_EQ(errorOfManifest("no markup"), ValidationError::XmlParsingFailed);
}

TEST_F(FirmwarePackageTest, ReportsAnotherTopLevelElement) {
    EXPECT_EQ(errorOfManifest("<Firmware/>"), ValidationError::MissingFirmwareDescriptionTag);
    EXPECT_EQ(errorOfManifest(std::string("<Wrapper>") + soundManifest + "</Wrapper>"),
              ValidationError::MissingFirmwareDescriptionTag);
}

TEST_F(FirmwarePackageTest, PassesTheParsersErrorsOn) {
    using Error = ParseFirmwareDescriptionError;
    EXPECT_EQ(errorOfManifest("<FirmwareDescription/>"), Error::MissingManufacturerId);
    EXPECT_EQ(errorOfManifest("<FirmwareDescription></FirmwareDescription>"),
              Error::MissingManufacturerId);
    EXPECT_EQ(errorOfManifest(R"(<FirmwareDescription><ManufacturerId Value=""/>)"
                              R"(<ModelId Value=""/></FirmwareDescription>)"),
              Error::MissingVersion);
}

TEST_F(FirmwarePackageTest, ReturnsTheParsedManifest) {
    const FirmwarePackage package = packageOf({{manifestName, soundManifest}});
    const Outcome outcome = package.validateAndGetFirmwareDescription(StubValidator(true));
    const auto* const description = boost::get<FirmwareDescription>(&outcome);
    ASSERT_NE(description, nullptr);
    EXPECT_EQ(to_string(description->version), "1.2.3.4");
}

TEST_F(FirmwarePackageTest, ReadsTheManifestAsUtf8WhateverEncodingItDeclares) {
    std::string text = R"(<?xml version="1.0" encoding="ISO-8859-1"?>)";
    text += soundManifest;
    text.insert(text.rfind("</"), "<SupportedHwRevs><HwRev Value=\"\xc3\xa4\"/></SupportedHwRevs>");
    const FirmwarePackage package = packageOf({{manifestName, text}});
    const Outcome outcome = package.validateAndGetFirmwareDescription(StubValidator(true));
    const auto* const description = boost::get<FirmwareDescription>(&outcome);
    ASSERT_NE(description, nullptr);
    EXPECT_THAT(description->supportedHwRevs, ElementsAre("\xc3\xa4"));
}

TEST_F(FirmwarePackageTest, StaysUsableAfterAFailure) {
    const FirmwarePackage package = packageOf({{manifestName, soundManifest}, {"app", "data"}});
    EXPECT_EQ(errorOf(package, StubValidator(false)), ValidationError::InvalidSignature);
    EXPECT_THROW(package.validate(recordOf("missing", {})), std::runtime_error);
    EXPECT_EQ(errorOf(package, StubValidator(true)), std::error_code());
    EXPECT_TRUE(package.validate(recordOf("app", digestOf("data"))));
}

TEST_F(FirmwarePackageTest, HasNothingJudgedOfAManifestThatCannotBeReadToItsEnd) {
    std::string text;
    for (int i = 0; text.size() < 600000; ++i) {
        text += std::to_string(i);
    }
    writeArchive((directory / "package.zip").native(), {{manifestName, text}});
    std::string bytes = readFile(directory / "package.zip");
    bytes.replace(bytes.size() * 3 / 4, 64, 64, '\xff');
    const auto package = FirmwarePackage::Create(directory.write("bad.zip", bytes));
    ASSERT_TRUE(package);
    libzip::file entry = package->archive().open(manifestName);
    ASSERT_FALSE(entry.read(256 * 1024).empty()) << "the beginning can be read";
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(*package, validator), ValidationError::XmlParsingFailed);
    EXPECT_THAT(validator.texts, ElementsAre(""));
}

TEST_F(FirmwarePackageTest, ReadsAManifestOf64MiB) {
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(packageOf({{manifestName, std::string(64U << 20U, ' ')}}), validator),
              ValidationError::XmlParsingFailed);
    EXPECT_THAT(validator.texts, ElementsAre(testing::SizeIs(64U << 20U)));
}

TEST_F(FirmwarePackageTest, RefusesToReadAManifestOfMoreThan64MiB) {
    const StubValidator validator(true);
    EXPECT_EQ(errorOf(packageOf({{manifestName, std::string((64U << 20U) + 1, ' ')}}), validator),
              ValidationError::ValidationProcessError);
    EXPECT_THAT(validator.texts, IsEmpty());
}

}  // namespace
