// Installations that fail: what is logged, what stays, what never happens.

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Digest.h"
#include "Installation.h"
#include "InstallerFixture.h"
#include "Norv/Corvane/Common/Installer.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = boost::filesystem;

TEST_F(InstallerTest, LogsFailureBeforeTheVerdict) {
    std::vector<LogRecord> before;
    {
        Installer installer(target.path());
        installer.Install(unsignedPackage(PackageBuilder().firmware("a", "data").flipBit("a")),
                          nullptr, [&](bool) { before = log.records(); });
    }
    EXPECT_THAT(before, ElementsAre(failedToProcess("a")));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("a")));
}

TEST_F(InstallerTest, ComparesTheDigestOfAnEmptyFile) {
    EXPECT_THAT(install(PackageBuilder().firmware("empty", "")).verdicts, ElementsAre(true));
    EXPECT_EQ(installed("empty"), "");

    const auto wrong =
        install(PackageBuilder().firmware("empty", "").editManifest([](Pack::Manifest& manifest) {
            manifest.files[0].hashValue = Pack::digestBytes("x").sha256;
        }));
    EXPECT_THAT(wrong.verdicts, ElementsAre(false));
}

TEST_F(InstallerTest, RefusesDigestsThatAreNot32BytesLong) {
    for (const std::size_t length : {std::size_t{0}, std::size_t{31}, std::size_t{33}}) {
        const auto report = install(
            PackageBuilder().firmware("app", "data").editManifest([&](Pack::Manifest& manifest) {
                manifest.files[0].hashValue.resize(length);
            }));
        EXPECT_THAT(report.verdicts, ElementsAre(false)) << length;
        EXPECT_THAT(report.progress, IsEmpty());
    }
    EXPECT_THAT(log.records(), AllOf(testing::SizeIs(3), Each(failedToProcess("app"))));
}

TEST_F(InstallerTest, LeavesADamagedFileOnDiskAndLaterOnesUntouched) {
    const auto report = install(PackageBuilder()
                                    .stored()
                                    .firmware("first", std::string(2048, 'a'))
                                    .firmware("second", "damaged")
                                    .firmware("third", std::string(2048, 'c'))
                                    .flipBit("second"));
    EXPECT_THAT(report.verdicts, ElementsAre(false));
    EXPECT_THAT(report.progress, ElementsAre(50)) << "nothing for the damaged file";
    EXPECT_THAT(target.files(), ElementsAre("first", "second"));
    EXPECT_EQ(installed("first"), std::string(2048, 'a'));
    EXPECT_EQ(installed("second").size(), 7U);
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("second")));
}

TEST_F(InstallerTest, NamesTheArchiveEntryThatFailed) {
    install(PackageBuilder()
                .file(Pack::PayloadKind::Firmware, "local", "remote", "data")
                .flipBit("local"));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("local")));
}

TEST_F(InstallerTest, DoesNotRunADamagedScript) {
    const std::string mark = "touch " + (target / "mark").native() + "\n";
    const auto report =
        install(PackageBuilder()
                    .script("Script.run", mark +
                                              "# damage hits this comment, not the command "
                                              "before it, which would work\n" +
                                              std::string(200, '#') + "\n")
                    .flipBit("Script.run"));
    EXPECT_THAT(report.verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), ElementsAre("Script.run"));
}

TEST_F(InstallerTest, FailsWithAFailingScript) {
    const auto report = install(PackageBuilder()
                                    .script("Script.run", "exit 3\n" + std::string(2048, '\n'))
                                    .firmware("later", "x"));
    EXPECT_THAT(report.verdicts, ElementsAre(false));
    EXPECT_THAT(report.progress, IsEmpty());
    EXPECT_THAT(target.files(), ElementsAre("Script.run"))
        << "the script stays, the rest never came";
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("Script.run")));
}

TEST_F(InstallerTest, FailsWhenAFileCannotBeOpened) {
    fs::create_directory(target / "app");
    const auto report = install(PackageBuilder().firmware("app", "data").firmware("later", "x"));
    EXPECT_THAT(report.verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), IsEmpty());
    EXPECT_THAT(
        log.records(),
        ElementsAre(LogRecord{spdlog::level::err, "Failde to open file " + target.path().native(),
                              "FileWriter"},
                    failedToProcess("app")));
}

TEST_F(InstallerTest, DoesNotRunAScriptThatCouldNotBeWritten) {
    // What is there already would run.
    target.write("real", "touch " + (target / "mark").native() + "\n");
    fs::create_directory(target / "bin");
    fs::create_symlink("/dev/full", target / "bin/Script.run");
    const auto report = install(PackageBuilder().script("bin/Script.run", "exit 0\n"));
    EXPECT_THAT(report.verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("bin/Script.run")));
}

TEST_F(InstallerTest, FailsForAFileWithoutAnInstallationPath) {
    const auto report =
        install(PackageBuilder().firmware("app", "data").editXml([](std::string& xml) {
            const std::size_t at = xml.find(" RemoteFilePath=");
            const std::size_t end = xml.find('"', xml.find('"', at) + 1) + 1;
            xml.erase(at, end - at);
        }));
    EXPECT_THAT(report.verdicts, ElementsAre(false));
    EXPECT_EQ(log.records().back(), failedToProcess("app"));
}

TEST_F(InstallerTest, LetsTheDigestDecideAboutAReadError) {
    TemporaryDirectory directory;
    const path package =
        PackageBuilder().stored().firmware("app", "payload").withoutSignature().build(directory);
    // A wrong checksum in the directory of the archive: all data is right, the last read is not.
    std::string bytes = readFile(package);
    const std::size_t entry = bytes.rfind("PK\x01\x02");
    ASSERT_EQ(bytes.substr(entry + 46, 3), "app");
    bytes[entry + 16] = static_cast<char>(bytes[entry + 16] ^ 1);
    const auto opened = FirmwarePackage::Create(directory.write("bad.zip", bytes));
    ASSERT_TRUE(opened);

    auto firmware = unsignedPackage(PackageBuilder().firmware("app", "payload"));
    firmware.package =
        FirmwarePackage(libzip::archive((directory / "bad.zip").native(), ZIP_RDONLY));
    EXPECT_FALSE(firmware.package.validate(firmware.description.files.at(0)));
    EXPECT_THAT(installAndWait(std::move(firmware), target.path()).verdicts, ElementsAre(true));
    EXPECT_EQ(installed("app"), "payload");
}

}  // namespace
