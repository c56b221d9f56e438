#include "Check.h"

#include <gmock/gmock.h>

namespace {

using namespace Norv::Corvane::Pack;
using testing::ElementsAre;
using testing::IsEmpty;

ManifestFile firmware(const std::string& local, const std::string& remote) {
    return {PayloadKind::Firmware, local, remote, {}, 1};
}

ManifestFile script(const std::string& remote) {
    return {PayloadKind::Script, "script", remote, {}, 1};
}

Manifest with(std::vector<ManifestFile> files) {
    return {"QV", "QA01RTVN", "1.2.3.4", "5.6.7.8", "9.10.11.12", {"A"}, std::move(files)};
}

Findings checkVersion(const std::string& version) {
    Manifest manifest = with({firmware("a", "a")});
    manifest.version = version;
    return check(manifest);
}

TEST(PackCheck, FindsNothingWrongWithASoundManifest) {
    const Findings findings =
        check(with({firmware("a", "bin/a"), firmware("b", "bin/b"), script("/x/Script.run")}));
    EXPECT_THAT(findings.errors, IsEmpty());
    EXPECT_THAT(findings.warnings, IsEmpty());
}

TEST(PackCheck, RefusesUnknownDevices) {
    Manifest manifest = with({firmware("a", "a")});
    manifest.modelId = "QA01RTVX";
    EXPECT_THAT(check(manifest).errors,
                ElementsAre("manufacturer \"QV\", model \"QA01RTVX\" is no known device"));
    manifest = with({firmware("a", "a")});
    manifest.manufacturerId = "qv";
    EXPECT_THAT(check(manifest).errors,
                ElementsAre("manufacturer \"qv\", model \"QA01RTVN\" is no known device"));
}

TEST(PackCheck, RefusesVersionsThatADeviceReadsOtherwise) {
    EXPECT_THAT(checkVersion("1.2.3").errors,
                ElementsAre("version \"1.2.3\" is not of the form 1.2.3.4"));
    for (const char* version :
         {"", "1.2.3.4.5", "1.2.3.4-rc1", " 1.2.3.4", "1.2.3.04", "1.2.3.4294967296", "+1.2.3.4"}) {
        EXPECT_EQ(checkVersion(version).errors.size(), 1U) << version;
    }
    EXPECT_THAT(checkVersion("0.0.0.4294967295").errors, IsEmpty());
}

TEST(PackCheck, ChecksAllThreeVersions) {
    Manifest manifest = with({firmware("a", "a")});
    manifest.version = manifest.systemVersion = manifest.applicationVersion = "x";
    EXPECT_THAT(check(manifest).errors,
                ElementsAre("version \"x\" is not of the form 1.2.3.4",
                            "system version \"x\" is not of the form 1.2.3.4",
                            "application version \"x\" is not of the form 1.2.3.4"));
}

TEST(PackCheck, RefusesEmptyHardwareRevisions) {
    Manifest manifest = with({firmware("a", "a")});
    manifest.supportedHwRevs = {"A", ""};
    EXPECT_THAT(check(manifest).errors, ElementsAre("a hardware revision is empty"));
}

TEST(PackCheck, RefusesEntryNamesThatCannotServe) {
    EXPECT_THAT(check(with({firmware("", "a")})).errors,
                ElementsAre("the local path of \"a\" is empty"));
    EXPECT_THAT(check(with({firmware("FirmwareDescription.xml", "a")})).errors,
                ElementsAre("the local path \"FirmwareDescription.xml\" is the manifest's own "
                            "name"));
    for (const char* local : {"/a", "a/", "../a", "a/../b"}) {
        EXPECT_THAT(check(with({firmware(local, "a")})).errors,
                    ElementsAre("the local path \"" + std::string(local) +
                                "\" is not a plain relative file name"));
    }
    EXPECT_THAT(check(with({firmware("a", "x"), firmware("a", "y")})).errors,
                ElementsAre("the local path \"a\" is used twice"));
}

TEST(PackCheck, RefusesInstallationPathsThatCannotBeWritten) {
    EXPECT_THAT(check(with({firmware("a", "")})).errors,
                ElementsAre("the remote path of \"a\" is empty"));
    for (const char* remote : {"bin/", "bin/.", ".", "/."}) {
        EXPECT_THAT(
            check(with({firmware("a", remote)})).errors,
            ElementsAre("the remote path \"" + std::string(remote) + "\" names a directory"));
    }
    EXPECT_THAT(check(with({firmware("a", "./a.")})).errors, IsEmpty());
}

TEST(PackCheck, RefusesInstallationPathsThatAreTooLong) {
    const std::string name(255, 'n');
    std::string path = name;
    while (path.size() < 3800) {
        path += "/" + name;
    }
    EXPECT_THAT(check(with({firmware("a", path)})).errors, IsEmpty());
    for (const std::string& remote : {name + "n", name + "n/a", path + "/" + name}) {
        EXPECT_THAT(check(with({firmware("a", remote)})).errors,
                    ElementsAre("the remote path \"" + remote + "\" is too long"));
    }
}

TEST(PackCheck, RefusesInstallationPathsOutsideTheTarget) {
    for (const char* remote : {"../a", "bin/../../a", "/../a", "a/.."}) {
        EXPECT_THAT(check(with({firmware("a", remote)})).errors,
                    ElementsAre("the remote path \"" + std::string(remote) +
                                "\" leads out of the target directory"));
    }
    EXPECT_THAT(check(with({firmware("a", "..a/b..")})).errors, IsEmpty());
}

TEST(PackCheck, RefusesInstallationPathsThatMeet) {
    EXPECT_THAT(check(with({firmware("a", "bin/x"), firmware("b", "/bin//./x")})).errors,
                ElementsAre("the remote path \"/bin//./x\" is used twice"));
    EXPECT_THAT(check(with({firmware("a", "/bin/x/y"), firmware("b", "bin")})).errors,
                ElementsAre("the remote path \"bin\" is a file and the directory of "
                            "\"bin/x/y\""));
}

TEST(PackCheck, RefusesPayloadThatDoesNotFit32Bits) {
    ManifestFile large = firmware("a", "a");
    large.length = 4294967296;
    EXPECT_THAT(
        check(with({large})).errors,
        ElementsAre("\"a\" is longer than 4 GiB", "the payload as a whole is longer than 4 GiB"));
    large.length = 4294967295;
    EXPECT_THAT(check(with({large})).errors, IsEmpty());
    EXPECT_THAT(check(with({large, firmware("b", "b")})).errors,
                ElementsAre("the payload as a whole is longer than 4 GiB"));
}

TEST(PackCheck, WarnsOfScriptsThatAreNotRun) {
    const Findings findings = check(with({script("setup/install.sh")}));
    EXPECT_THAT(findings.errors, IsEmpty());
    EXPECT_THAT(findings.warnings,
                ElementsAre("the script \"setup/install.sh\" is installed but not run: its remote "
                            "path does not end in Script.run"));
}

TEST(PackCheck, WarnsOfScriptsThatTheCommandLineWouldSplit) {
    EXPECT_THAT(check(with({script("my setup/Script.run")})).warnings,
                ElementsAre("the script \"my setup/Script.run\" cannot be run: its remote path "
                            "holds a blank or a quote"));
}

TEST(PackCheck, WarnsOfPackagesWithoutPayload) {
    EXPECT_THAT(check(with({})).warnings, ElementsAre("the package holds no payload file"));
}

}  // namespace
