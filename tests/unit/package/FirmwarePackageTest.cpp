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

#include "Digest.h"
#include "FirmwarePackageFixture.h"
#include "Norv/Corvane/Common/ErrorCodes.h"
#include "Process.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
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

File recordOf(std::string name, std::vector<std::uint8_t> digest) {
    File file;
    file.localFilePath = std::move(name);
    file.hashValue = std::move(digest);
    return file;
}

std::vector<std::uint8_t> digestOf(std::string_view bytes) {
    return digestBytes(bytes).sha256;
}

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

TEST_F(FirmwarePackageTest, OpensItsArchiveForReadingOnly) {
    const FirmwarePackage package = packageOf({{"app", "data"}});
    EXPECT_EQ(zip_get_archive_flag(package.archive().handle(), ZIP_AFL_RDONLY, 0), 1);
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

TEST_F(FirmwarePackageTest, ComparesTheEntryOfTheExactNameAmongSimilarOnes) {
    const FirmwarePackage package =
        packageOf({{"dir/app", "other"}, {"APP", "other"}, {"app", "data"}});
    EXPECT_TRUE(package.validate(recordOf("app", digestOf("data"))));
    EXPECT_THROW(package.validate(recordOf("App", digestOf("data"))), std::runtime_error);
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

TEST_F(FirmwarePackageTest, StaysUsableAfterAFailure) {
    const FirmwarePackage package = packageOf({{manifestName, soundManifest}, {"app", "data"}});
    EXPECT_EQ(errorOf(package, StubValidator(false)), ValidationError::InvalidSignature);
    EXPECT_THROW(package.validate(recordOf("missing", {})), std::runtime_error);
    EXPECT_EQ(errorOf(package, StubValidator(true)), std::error_code());
    EXPECT_TRUE(package.validate(recordOf("app", digestOf("data"))));
}

}  // namespace
