// What firmware-host prints and how it ends, without a terminal.

#include <sys/stat.h>

#include <boost/filesystem/operations.hpp>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class Host : public HostFixture {};

TEST_F(Host, InstallsAPackageWithPlainProgressLines) {
    const auto package = PackageBuilder()
                             .firmware("bin/app", std::string(3 << 20, 'a'))
                             .script("setup/Script.run", "echo hello > \"${0%/*}/greeting\"\n")
                             .firmware("bin/lib", std::string(1 << 20, 'b'))
                             .build(directory);
    const ProcessResult result = run(command(package));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, package.string() +
                              ": QA01RTVN, version 1.2.3.4, 3 files, 4.0 MiB\n"
                              "0 %, 0 B of 4.0 MiB\n"
                              "75 %, 3.0 MiB of 4.0 MiB\n"
                              "100 %, 4.0 MiB of 4.0 MiB\n"
                              "installed 3 files, 4.0 MiB in " +
                              target.path().string() + "\n");
    EXPECT_THAT(target.files(),
                ElementsAre("bin/app", "bin/lib", "setup/Script.run", "setup/greeting"));
    EXPECT_EQ(readFile(target / "setup/greeting"), "hello\n");
}

TEST_F(Host, CountsInBinaryUnits) {
    const auto summary = [this](std::size_t length) {
        const auto package =
            PackageBuilder().firmware("a", std::string(length, 'a')).build(directory);
        const std::string out = run(command(package)).out;
        return out.substr(0, out.find('\n')).substr(package.string().size());
    };
    EXPECT_EQ(summary(1023), ": QA01RTVN, version 1.2.3.4, 1 file, 1023 B");
    EXPECT_EQ(summary(1024), ": QA01RTVN, version 1.2.3.4, 1 file, 1.0 KiB");
    EXPECT_EQ(summary(1 << 20), ": QA01RTVN, version 1.2.3.4, 1 file, 1.0 MiB");
}

TEST_F(Host, ShowsInformationalLogLinesOnRequest) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    EXPECT_EQ(run(command(package, {"--verbose"})).err,
              "firmware-host: info: Firmware installation succeded\n");
}

TEST_F(Host, RefusesAPackageThatCannotBeTrusted) {
    const auto package =
        PackageBuilder().firmware("app", "a").signedBy(strangerKey()).build(directory);
    const ProcessResult result = run(command(package));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-host: error: Invalid firmwareDescription: invalid signature\n"
              "firmware-host: " +
                  package.string() + " is not a firmware package that can be trusted\n");
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(target.files(), IsEmpty());
}

TEST_F(Host, RefusesAMissingPackage) {
    const ProcessResult result = run(command("/absent.zip"));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-host: error: Faild to open /absent.zip (No such file)\n"
              "firmware-host: /absent.zip is not a firmware package that can be trusted\n");
}

TEST_F(Host, RefusesACertificateThatIsNone) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    const ProcessResult result =
        run({FIRMWARE_HOST, keys.key.string(), package.string(), target.path().string()});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.err, HasSubstr("firmware-host: cannot trust " + keys.key.string() +
                                      ": cert loading failed\n"));
    EXPECT_THAT(target.files(), IsEmpty());
}

TEST_F(Host, SaysWhyACertificateCannotBeRead) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    const auto trusting = [&](const std::string& certificate) {
        return run({FIRMWARE_HOST, certificate, package.string(), target.path().string()});
    };
    EXPECT_EQ(trusting("/absent.pem").err,
              "firmware-host: cannot trust /absent.pem: No such file or directory\n");
    EXPECT_EQ(trusting("/").err, "firmware-host: cannot trust /: Is a directory\n");
    EXPECT_EQ(trusting("/absent.pem").status, 1);
}

TEST_F(Host, RefusesATargetThatIsNoDirectory) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    const std::string path = package.string();
    const ProcessResult result =
        run({FIRMWARE_HOST, keys.certificate.string(), package.string(), path});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-host: " + path + " is not a directory\n");
}

TEST_F(Host, MakesATargetThatIsMissing) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    const std::string path = (target / "not/there/yet").string();
    const ProcessResult result =
        run({FIRMWARE_HOST, keys.certificate.string(), package.string(), path});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(target.files(), ElementsAre("not/there/yet/app"));
}

TEST_F(Host, RefusesATargetWhoseScriptsCouldNotRun) {
    const std::string blank = (target / "a b").string();
    ASSERT_EQ(::mkdir(blank.c_str(), 0755), 0);
    const auto script = PackageBuilder().script("Script.run", "exit 0").build(directory);
    const ProcessResult result =
        run({FIRMWARE_HOST, keys.certificate.string(), script.string(), blank});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-host: no script can be run below " + blank +
                              ": its path holds a blank or a quote\n");
    EXPECT_THAT(target.files(), IsEmpty());

    const auto plain = PackageBuilder().firmware("app", "a").build(directory, "plain.zip");
    EXPECT_EQ(run({FIRMWARE_HOST, keys.certificate.string(), plain.string(), blank}).status, 0);
    EXPECT_THAT(target.files(), ElementsAre("a b/app"));
}

TEST_F(Host, ReportsADamagedFileThatIsFoundOnTheWay) {
    const auto package = PackageBuilder()
                             .firmware("first", "a")
                             .firmware("second", "b")
                             .flipBit("second")
                             .build(directory);
    const ProcessResult result = run(command(package, {"--no-check"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-host: error: Failed to process: second\n"
              "firmware-host: installation failed; what was installed before stays\n");
    EXPECT_THAT(result.out, testing::Not(HasSubstr("installed")));
}

TEST_F(Host, ReportsAFailingScript) {
    const auto package = PackageBuilder().script("Script.run", "exit 3\n").build(directory);
    const ProcessResult result = run(command(package));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-host: error: Failed to process: Script.run\n"
              "firmware-host: installation failed; what was installed before stays\n");
}

TEST_F(Host, ChecksEveryFileBeforeTheFirstOne) {
    const auto damaged = PackageBuilder()
                             .firmware("first", "a")
                             .firmware("second", "b")
                             .flipBit("second")
                             .build(directory);
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{}, std::vector<std::string>{"--check"}}) {
        const ProcessResult result = run(command(damaged, options));
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.err, "firmware-host: second is damaged\n");
        EXPECT_THAT(target.files(), IsEmpty());
    }
    const auto incomplete = PackageBuilder().firmware("first", "a").omit("first").build(directory);
    EXPECT_EQ(run(command(incomplete)).err, "firmware-host: cannot read first: No such file\n");
}

TEST_F(Host, ComparesLengthsBeforeTheFirstFile) {
    const auto package =
        PackageBuilder()
            .firmware("first", "a")
            .firmware("second", "four")
            .editManifest([](Pack::Manifest& manifest) { manifest.files.at(1).length = 3; })
            .build(directory);
    const ProcessResult result = run(command(package));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-host: second has 4 bytes, the manifest states 3\n");
    EXPECT_THAT(target.files(), IsEmpty());
    // The digest alone decides without the check.
    EXPECT_EQ(run(command(package, {"--no-check"})).status, 0);
}

TEST_F(Host, SaysWhyTheProcessEndsWhenAListedFileIsMissing) {
    const auto package = PackageBuilder().firmware("app", "a").omit("app").build(directory);
    const ProcessResult result = run(command(package, {"--no-check"}));
    EXPECT_EQ(result.status, 128 + SIGABRT);
    const std::string emulatorsWords =
        emulator().find("qemu") == std::string::npos
            ? ""
            : "qemu: uncaught target signal 6 (Aborted) - core dumped\n";
    EXPECT_EQ(result.err, "firmware-host: installation failed: No such file\n" + emulatorsWords);
}

TEST_F(Host, HelpGoesToStandardOutput) {
    const ProcessResult result = run({FIRMWARE_HOST, "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out,
                StartsWith("Usage: firmware-host [OPTION]... CERTIFICATE PACKAGE TARGET\n"));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(run({FIRMWARE_HOST, "-h"}).out, result.out);
}

TEST_F(Host, FinishesWhenNobodyReadsItsOutput) {
    const auto package = PackageBuilder()
                             .script("Script.run", "sleep 0.3\n")
                             .firmware("a", std::string(1 << 20, 'a'))
                             .firmware("b", std::string(1 << 20, 'b'))
                             .build(directory);
    std::vector<std::string> words = {"sh", "-c",
                                      "{ \"$@\"; echo $? > \"$0\"; } | head -n 1 > /dev/null",
                                      (directory / "status").string()};
    const std::vector<std::string> host = command(package);
    words.insert(words.end(), host.begin(), host.end());
    EXPECT_EQ(run(words).status, 0);
    EXPECT_EQ(readFile(directory / "status"), "0\n");
    EXPECT_THAT(target.files(), ElementsAre("Script.run", "a", "b"));
}

TEST_F(Host, OpensTheStandardStreamsThatItsCallerClosed) {
    const auto package =
        PackageBuilder().script("Script.run", "set -e; echo out; echo err >&2\n").build(directory);
    std::vector<std::string> words = {"sh", "-c", "exec \"$@\" <&- >&- 2>&-", "sh"};
    const std::vector<std::string> host = command(package);
    words.insert(words.end(), host.begin(), host.end());
    EXPECT_EQ(run(words).status, 0);
}

}  // namespace
