// Package files that change during an installation.
//
// The manifest is read and checked once; the payload is read later, from the same open file. A
// damaged entry fails because of its digest. One that can no longer be opened ends the process.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>
#include <zip.h>

#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <fstream>

#include "Installation.h"
#include "Process.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;
using testing::ElementsAre;

// Stored, and too large for any read-ahead of the open file to hide a change.
const std::vector<Payload>& files() {
    static const std::vector<Payload> two{{"first", noise(400000, 1)},
                                          {"second", noise(400000, 2)}};
    return two;
}

void overwrite(const fs::path& path, std::size_t offset, const std::string& bytes) {
    std::fstream stream(path.native(), std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(static_cast<std::streamoff>(offset));
    stream << bytes;
}

class ChangedPackage : public FaultTest {
protected:
    void SetUp() override {
        writePackage(package(), files());
        content_ = readFile(package());
    }

    std::size_t offsetOf(std::size_t file) const { return content_.find(files()[file].content); }

    const std::string& content() const { return content_; }

private:
    std::string content_;
};

TEST_F(ChangedPackage, DamageAfterValidationIsAFailure) {
    auto firmware = validated(package(), files());
    overwrite(package(), offsetOf(0) + 200000, "damage");
    const LogCapture log;
    EXPECT_THAT(install(std::move(firmware), target()), ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("first")));
    EXPECT_FALSE(fs::exists(target() / "second"));
}

TEST_F(ChangedPackage, TruncationInsideAFileIsAFailure) {
    auto firmware = validated(package(), files());
    fs::resize_file(package(), offsetOf(0) + 200000);
    const LogCapture log;
    EXPECT_THAT(install(std::move(firmware), target()), ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("first")));
}

TEST_F(ChangedPackage, TruncationBeforeAFileEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, deathTestStyle());
    EXPECT_EXIT(
        {
            auto firmware = validated(package(), files());
            fs::resize_file(package(), 0);
            install(std::move(firmware), target());
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST_F(ChangedPackage, RewrittenWithSomethingElseIsAFailureOrEndsTheProcess) {
    auto firmware = validated(package(), files());
    replaceContent(package(), noise(content().size(), 3));
    const LogCapture log;
#if LIBZIP_VERSION_MAJOR == 1 && LIBZIP_VERSION_MINOR < 12
    EXPECT_THAT(install(std::move(firmware), target()), ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("first")));
#else
    // From 1.12 on, libzip opens an entry only if its header is there.
    GTEST_FLAG_SET(death_test_style, deathTestStyle());
    EXPECT_EXIT(install(std::move(firmware), target()), testing::KilledBySignal(SIGABRT), "");
#endif
}

TEST_F(ChangedPackage, AnotherPackageInItsPlaceIsNotInstalled) {
    auto firmware = validated(package(), files());
    // Same names, same sizes, same layout, other bytes: written into the same file.
    writePackage(directory / "other.zip",
                 {{"first", noise(400000, 8)}, {"second", noise(400000, 9)}});
    replaceContent(package(), readFile(directory / "other.zip"));
    const LogCapture log;
    EXPECT_THAT(install(std::move(firmware), target()), ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("first")));
}

TEST_F(ChangedPackage, RenamedOverIsInstalledAsItWasValidated) {
    auto firmware = validated(package(), files());
    replaceContent(directory / "other.zip", "something else");
    fs::rename(directory / "other.zip", package());
    EXPECT_THAT(install(std::move(firmware), target()), ElementsAre(true));
    EXPECT_EQ(readFile(target() / "first"), files()[0].content);
    EXPECT_EQ(readFile(target() / "second"), files()[1].content);
}

TEST_F(ChangedPackage, DamageDuringTheInstallationIsAFailure) {
    const LogCapture log;
    EXPECT_THAT(
        install(validated(package(), files()), target(),
                [this](unsigned int) { overwrite(package(), offsetOf(1) + 200000, "damage"); }),
        ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("second")));
    EXPECT_EQ(readFile(target() / "first"), files()[0].content);
}

TEST_F(ChangedPackage, TruncationDuringTheInstallationIsAFailure) {
    const LogCapture log;
    EXPECT_THAT(install(validated(package(), files()), target(),
                        [this](unsigned int) { fs::resize_file(package(), offsetOf(1) + 200000); }),
                ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("second")));
}

TEST_F(ChangedPackage, DamageOutsideOfTheListedFilesDoesNotMatter) {
    auto firmware = validated(package(), files());
    // The directory was read when the package was opened.
    overwrite(package(), content().size() - 100, std::string(100, '\0'));
    EXPECT_THAT(install(std::move(firmware), target()), ElementsAre(true));
    EXPECT_EQ(readFile(target() / "first"), files()[0].content);
    EXPECT_EQ(readFile(target() / "second"), files()[1].content);
}

}  // namespace
}  // namespace Norv::Corvane::Test
