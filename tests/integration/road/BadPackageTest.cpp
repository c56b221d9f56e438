// Packages that must not be installed: each is refused or fails, with the line that says why, and
// never succeeds.

#include <gmock/gmock.h>

#include <boost/filesystem/operations.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Road.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class BadPackage : public Road {
protected:
    // The only record, logged when the package was opened.
    void expectUnopened(const path& package) {
        const LogCapture own;
        EXPECT_FALSE(travel(package, target.path())) << package;
        const std::vector<LogRecord> records = own.records();
        ASSERT_THAT(records, SizeIs(1));
        EXPECT_EQ(records[0].level, spdlog::level::err);
        EXPECT_EQ(records[0].function, "Create");
        EXPECT_THAT(records[0].message, StartsWith("Faild to open " + package.native() + " ("));
        EXPECT_THAT(target.files(), IsEmpty());
    }

    void expectRefused(const PackageBuilder& package, const std::string& reason) {
        const LogCapture own;
        EXPECT_FALSE(travel(package));
        EXPECT_THAT(own.records(), ElementsAre(refused(reason)));
        EXPECT_THAT(target.files(), IsEmpty());
    }
};

TEST_F(BadPackage, MissingIsNotOpened) {
    expectUnopened(directory / "missing.zip");
}

TEST_F(BadPackage, ThatIsNoArchiveIsNotOpened) {
    expectUnopened(directory.write("text.zip", "This is not a zip archive.\n"));
    expectUnopened(directory.write("noise.zip", noise(100000)));
    expectUnopened(directory.path());
}

TEST_F(BadPackage, CutShortIsNeverInstalled) {
    const path whole = PackageBuilder().firmware("app", noise(5000)).build(directory);
    const std::string bytes = readFile(whole);
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{30}, bytes.size() / 4, bytes.size() / 2, bytes.size() - 1}) {
        expectUnopened(directory.write("cut.zip", bytes.substr(0, size)));
    }
}

TEST_F(BadPackage, WithoutManifestIsRefused) {
    expectRefused(PackageBuilder().firmware("app", "data").manifestEntry({}),
                  "missing file 'FirmwareDescription.xml'");
    expectRefused(
        PackageBuilder().firmware("app", "data").manifestEntry("x/FirmwareDescription.xml"),
        "missing file 'FirmwareDescription.xml'");
}

TEST_F(BadPackage, WithoutSignatureIsRefused) {
    expectRefused(PackageBuilder().firmware("app", "data").withoutSignature(),
                  "error in validation process");
}

TEST_F(BadPackage, SignedBySomeoneElseIsRefused) {
    expectRefused(PackageBuilder().firmware("app", "data").signedBy(strangerKey()),
                  "invalid signature");
}

TEST_F(BadPackage, ChangedAfterItWasSignedIsRefused) {
    expectRefused(PackageBuilder().firmware("app", "data").tamper([](std::string& xml) {
        xml.replace(xml.find("LocalFilePath=\"app\""), 19, "LocalFilePath=\"apq\"");
    }),
                  "invalid signature");
}

TEST_F(BadPackage, WithTheSignatureOfAnotherManifestIsRefused) {
    const std::string other = PackageBuilder().firmware("app", "data").manifest();
    const std::size_t begin = other.find("<Signature");
    const std::size_t end = other.find("</Signature>") + 12;
    ASSERT_LT(begin, end);
    expectRefused(PackageBuilder().firmware("app", "other").tamper([&](std::string& xml) {
        const std::size_t at = xml.find("<Signature");
        xml.replace(at, xml.find("</Signature>") + 12 - at, other.substr(begin, end - begin));
    }),
                  "invalid signature");
}

TEST_F(BadPackage, WithAManifestThatIsNoXmlIsRefused) {
    expectRefused(PackageBuilder().manifestText("no xml"), "error in validation process");
    expectRefused(PackageBuilder().manifestText(""), "error in validation process");
}

TEST_F(BadPackage, SignedButNoManifestIsRefused) {
    expectRefused(PackageBuilder().manifestText(signXml("<Other/>", rsaKey())),
                  "missing or empty FirmwareDescription tag");
    expectRefused(PackageBuilder().manifestText(signXml("<FirmwareDescription/>", rsaKey())),
                  "missing ManufacturerId");
}

TEST_F(BadPackage, SignedWithAMalformedVersionIsRefused) {
    expectRefused(PackageBuilder().editManifest(
                      [](Pack::Manifest& manifest) { manifest.systemVersion = "1.2.3"; }),
                  "missing SystemVersion");
}

TEST_F(BadPackage, IsRefusedWithoutATrustedCertificate) {
    validator.Close();
    expectRefused(PackageBuilder().firmware("app", "data"), "error in validation process");
}

TEST_F(BadPackage, WithAFlippedBitInItsPayloadFailsWhileItIsInstalled) {
    const auto report = travel(PackageBuilder()
                                   .firmware("first", "sound")
                                   .firmware("second", noise(600000))
                                   .firmware("third", "never reached")
                                   .flipBit("second"));
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), ElementsAre("first", "second"));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("second")));
}

TEST_F(BadPackage, WithAFlippedByteInItsStoredDataFails) {
    std::string bytes =
        readFile(PackageBuilder().stored().firmware("app", "stored payload").build(directory));
    const std::size_t at = bytes.find("stored payload");
    ASSERT_NE(at, std::string::npos);
    bytes[at + 3] = static_cast<char>(bytes[at + 3] ^ 0x20);
    const auto report = travel(directory.write("bad.zip", bytes), target.path());
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("app")));
}

TEST_F(BadPackage, WithDamagedCompressedDataFails) {
    std::string bytes =
        readFile(PackageBuilder().firmware("app", std::string(900000, 'x')).build(directory));
    const std::size_t header = bytes.find("PK\x03\x04", bytes.find("FirmwareDescription.xml"));
    ASSERT_NE(header, std::string::npos);
    // Somewhere inside the compressed stream, past the header of the entry.
    for (std::size_t at = header + 60; at < header + 80; ++at) {
        bytes[at] = static_cast<char>(~bytes[at]);
    }
    const auto report = travel(directory.write("bad.zip", bytes), target.path());
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("app")));
    EXPECT_LT(installed("app").size(), 900000U) << "the data ended at the damage";
}

TEST_F(BadPackage, DoesNotRunAScriptThatWasNotSigned) {
    const auto report = travel(PackageBuilder()
                                   .script("Script.run", "touch " + (target / "mark").native() +
                                                             "\n#" + std::string(200, ' '))
                                   .flipBit("Script.run"));
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), ElementsAre("Script.run"));
}

TEST_F(BadPackage, ChangedInPlaceAfterItsValidationFails) {
    // Long enough not to be in the archive reader's buffer already.
    const std::string genuine = noise(100000);
    const path package = PackageBuilder().stored().firmware("app", genuine).build(directory);
    auto firmware = zipValidator.ValidateFirmwareZipFile(package);
    ASSERT_TRUE(firmware);
    std::string bytes = readFile(package);
    bytes.replace(bytes.find(genuine) + 50000, 7, "malware");
    // The same file, not another one under its name.
    directory.write("package.zip", bytes);
    EXPECT_THAT(installAndWait(*std::move(firmware), target.path()).verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("app")));
}

// Whether every listed entry can be opened; if one cannot, an installation would end the process.
bool entriesOpen(const Common::ValidatedFirmwareZip& firmware) {
    try {
        for (const auto& file : firmware.description.files) {
            firmware.package.archive().open(file.localFilePath);
        }
    } catch (const std::runtime_error&) {
        return false;
    }
    return true;
}

TEST_F(BadPackage, WithAnyOneByteChangedNeverInstallsAnythingElseWithSuccess) {
    const std::string sound =
        readFile(PackageBuilder()
                     .stored()
                     .firmware("app", "the program")
                     .file(Pack::PayloadKind::Firmware, "x", "etc/x", "values")
                     .build(directory));
    int refusals = 0;
    int failures = 0;
    for (std::size_t at = 0; at < sound.size(); ++at) {
        std::string bytes = sound;
        bytes[at] = static_cast<char>(bytes[at] ^ (1 << at % 8));
        auto firmware = zipValidator.ValidateFirmwareZipFile(directory.write("bad.zip", bytes));
        if (!firmware || !entriesOpen(*firmware)) {
            ++refusals;
            continue;
        }
        const InstallationReport report = installAndWait(*std::move(firmware), target.path());
        ASSERT_THAT(report.verdicts, SizeIs(1));
        if (!report.verdicts.front()) {
            ++failures;
            continue;
        }
        ASSERT_THAT(target.files(), ElementsAre("app", "etc/x")) << at;
        ASSERT_EQ(installed("app"), "the program") << at;
        ASSERT_EQ(installed("etc/x"), "values") << at;
    }
    EXPECT_GT(refusals, 500) << "the manifest alone is longer";
    EXPECT_GE(failures, 17) << "every byte of the payload counts";
}

}  // namespace
