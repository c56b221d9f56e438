// Wrong uses of firmware-host: each has its message and its exit status, and installs nothing.

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane::Test;
using testing::IsEmpty;

struct WrongUse {
    const char* name;
    // "CERT", "PACKAGE" and "TARGET" stand for valid ones, "DIR" for the package's directory.
    std::vector<std::string> words;
    int status;
    // What standard error says after "firmware-host: ", the same words replaced.
    std::string message;
};

constexpr char hint[] = "\nTry firmware-host --help.";
constexpr char threePaths[] =
    "three paths are needed: certificate, package and target directory\nTry firmware-host --help.";

std::string hinted(const std::string& message) {
    return message + hint;
}

const std::vector<WrongUse>& wrongUses() {
    static const std::vector<WrongUse> uses = {
        {"Nothing", {}, 2, threePaths},
        {"OnePath", {"CERT"}, 2, threePaths},
        {"TwoPaths", {"CERT", "PACKAGE"}, 2, threePaths},
        {"FourPaths", {"CERT", "PACKAGE", "TARGET", "x"}, 2, threePaths},
        {"TwoPathsForADryRun", {"--dry-run", "CERT", "PACKAGE"}, 2, threePaths},
        {"OnePathToVerify",
         {"--verify", "CERT"},
         2,
         hinted("two or three paths are needed: certificate, package and target directory")},
        {"FourPathsToVerify",
         {"--verify", "CERT", "PACKAGE", "TARGET", "x"},
         2,
         hinted("two or three paths are needed: certificate, package and target directory")},
        {"EmptyCertificate",
         {"", "PACKAGE", "TARGET"},
         2,
         hinted("the path of the certificate is empty")},
        {"EmptyPackage", {"CERT", "", "TARGET"}, 2, hinted("the path of the package is empty")},
        {"EmptyTarget",
         {"CERT", "PACKAGE", ""},
         2,
         hinted("the path of the target directory is empty")},
        {"UnknownOption",
         {"--force", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("unknown option --force")},
        {"UnknownShortOption", {"-f", "CERT", "PACKAGE", "TARGET"}, 2, hinted("unknown option -f")},
        {"ShortenedOption",
         {"--verif", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("unknown option --verif")},
        {"ControlCharactersInAnOption", {"--o\x1b[2J"}, 2, hinted("unknown option --o?[2J")},
        {"ValueForAFlag",
         {"--json=yes", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("option --json takes no value")},
        {"ValueForHelp", {"--help=all"}, 2, hinted("option --help takes no value")},
        {"NoValueAtTheEnd",
         {"CERT", "PACKAGE", "TARGET", "--model"},
         2,
         hinted("option --model needs a value")},
        {"NoValueBehindTheSign",
         {"--script-log=", "--json", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("option --script-log needs a value")},
        {"EmptyValue",
         {"--hardware-revision", "", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("the value of --hardware-revision is empty")},
        {"OptionTwice",
         {"--model", "QA01RTVN", "--model", "QA01RTVN", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("--model is given more than once")},
        {"VerifyAndDryRun",
         {"--verify", "--dry-run", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("--verify and --dry-run exclude each other")},
        {"CheckAndNoCheck",
         {"--check", "--no-check", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("--check and --no-check exclude each other")},
        {"VerifyWithoutCheck",
         {"--verify", "--no-check", "CERT", "PACKAGE"},
         2,
         hinted("--no-check does not go with --verify")},
        {"DryRunWithoutCheck",
         {"--dry-run", "--no-check", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("--no-check does not go with --dry-run")},
        {"ScriptLogOfAVerification",
         {"--verify", "--script-log", "DIR/log", "CERT", "PACKAGE"},
         2,
         hinted("--script-log does not go with --verify, which runs no script")},
        {"UnknownModel",
         {"--model", "QA01", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("not a known model: QA01")},
        {"ThreeNumbersForAVersion",
         {"--installed-version", "1.2.3", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("not a version of four numbers such as 1.2.3.4: 1.2.3")},
        {"MoreThanAVersion",
         {"--installed-version", "1.2.3.4-rc1", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("not a version of four numbers such as 1.2.3.4: 1.2.3.4-rc1")},
        {"DeviceFileAndModel",
         {"--device-file", "DIR/device", "--model", "QA01RTVN", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("--device-file goes without --model, --hardware-revision and "
                "--installed-version")},
        {"DowngradeFromNothing",
         {"--allow-downgrade", "CERT", "PACKAGE", "TARGET"},
         2,
         hinted("--allow-downgrade goes with --installed-version or --device-file")},
        {"MissingDeviceFile",
         {"--device-file", "DIR/absent", "CERT", "PACKAGE", "TARGET"},
         1,
         "cannot read DIR/absent: No such file or directory"},
        {"MissingCertificate",
         {"DIR/absent.pem", "PACKAGE", "TARGET"},
         1,
         "cannot trust DIR/absent.pem: No such file or directory"},
        {"DirectoryForACertificate",
         {"DIR", "PACKAGE", "TARGET"},
         1,
         "cannot trust DIR: Is a directory"},
        {"FileForATarget", {"CERT", "PACKAGE", "CERT"}, 1, "CERT is not a directory"},
        {"UnwritableScriptLog",
         {"--script-log", "DIR/no/log", "CERT", "PACKAGE", "TARGET"},
         1,
         "cannot write DIR/no/log: No such file or directory"},
    };
    return uses;
}

class HostUsage : public HostFixture, public testing::WithParamInterface<WrongUse> {
protected:
    std::string real(std::string text) const {
        const std::vector<std::pair<std::string, std::string>> places = {
            {"CERT", keys.certificate.string()},
            {"PACKAGE", (directory / "package.zip").string()},
            {"TARGET", target.path().string()},
            {"DIR", directory.path().string()}};
        for (const auto& [word, path] : places) {
            for (std::size_t at = 0; (at = text.find(word, at)) != std::string::npos;
                 at += path.size()) {
                text.replace(at, word.size(), path);
            }
        }
        return text;
    }
};

TEST_P(HostUsage, IsRefusedInItsOwnWords) {
    PackageBuilder().firmware("app", "a").build(directory);
    std::vector<std::string> words = {FIRMWARE_HOST};
    for (const std::string& word : GetParam().words) {
        words.push_back(real(word));
    }
    const ProcessResult result = run(words);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_EQ(result.err, "firmware-host: " + real(GetParam().message) + "\n");
    EXPECT_THAT(target.files(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, HostUsage, testing::ValuesIn(wrongUses()),
                         [](const auto& use) { return std::string(use.param.name); });

class HostOptions : public HostFixture {};

TEST_F(HostOptions, EndAtTwoHyphens) {
    const ProcessResult result = run({FIRMWARE_HOST, "--", "--a", "b", "c"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-host: cannot trust --a: No such file or directory\n");
}

TEST_F(HostOptions, MayStandBehindThePaths) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    EXPECT_EQ(run({FIRMWARE_HOST, keys.certificate.string(), package.string(), "--verify"}).status,
              0);
}

TEST_F(HostOptions, TakeTheirValueBehindAnEqualsSign) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    EXPECT_EQ(run(command(package, {"--model=QA01RTVN"})).status, 0);
    EXPECT_EQ(run(command(package, {"--model=WOLMZB04"})).status, 1);
}

TEST_F(HostOptions, ShowTheVersion) {
    const ProcessResult result = run({FIRMWARE_HOST, "--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "firmware-host " PROJECT_VERSION "\n");
}

}  // namespace
