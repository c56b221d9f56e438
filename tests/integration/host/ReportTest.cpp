// What firmware-host says without installing, as JSON, and about hostile names.

#include <sys/stat.h>

#include <boost/filesystem/operations.hpp>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HostReport : public HostFixture {};

TEST_F(HostReport, VerifiesWithoutInstalling) {
    const auto package =
        PackageBuilder().firmware("app", "abc").script("Script.run", "exit 1\n").build(directory);
    const ProcessResult result =
        run({FIRMWARE_HOST, "--verify", keys.certificate.string(), package.string()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, package.string() + ": QA01RTVN, version 1.2.3.4, 2 files, 10 B\n" +
                              package.string() + " is valid: 2 files, 10 B\n");
    EXPECT_EQ(run(command(package, {"--verify"})).status, 0);
    EXPECT_THAT(target.files(), IsEmpty());
}

TEST_F(HostReport, FindsADamagedFileWhenVerifying) {
    const auto package = PackageBuilder().firmware("app", "abc").flipBit("app").build(directory);
    const ProcessResult result =
        run({FIRMWARE_HOST, "--verify", keys.certificate.string(), package.string()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "firmware-host: app is damaged\n");
}

TEST_F(HostReport, ADryRunTellsNewSameAndChangedFilesApart) {
    const std::string large(600000, 'x');
    const auto package = PackageBuilder()
                             .firmware("new", "a")
                             .firmware("dir/new", "a")
                             .firmware("same", large)
                             .firmware("empty", "")
                             .firmware("longer", "abc")
                             .firmware("other", large + "1")
                             .file(Pack::PayloadKind::Firmware, "local", "remote", "abc")
                             .build(directory);
    target.write("same", large);
    target.write("empty", "");
    target.write("longer", "ab");
    target.write("other", large + "2");
    target.write("remote", "abc");
    const ProcessResult result = run(command(package, {"--dry-run"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, HasSubstr("\nnew: new\ndir/new: new\nsame: same\nempty: same\n"
                                      "longer: changed\nother: changed\nremote: same\n"
                                      "nothing installed in " +
                                      target.path().string() + ": 2 new, 3 same, 2 changed\n"));
    EXPECT_EQ(readFile(target / "longer"), "ab");
    EXPECT_THAT(target.files(), ElementsAre("empty", "longer", "other", "remote", "same"));
}

TEST_F(HostReport, ADryRunRefusesWhatCannotBeInstalled) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    boost::filesystem::create_directory(target / "app");
    const ProcessResult result = run(command(package, {"--dry-run"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-host: cannot install " + (target / "app").string() + ": Is a directory\n");
}

TEST_F(HostReport, WritesOneJsonObjectALine) {
    const auto package = PackageBuilder()
                             .firmware("app", std::string(3 << 10, 'a'))
                             .script("Script.run", "echo \"a \\\"b\\\"\"; echo c >&2\n")
                             .build(directory);
    const ProcessResult result = run(command(package, {"--json", "--verbose"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    const std::string place = target.path().string();
    EXPECT_EQ(
        result.out,
        R"({"event":"start","action":"install","package":")" + package.string() +
            R"(","target":")" + place +
            R"(","model":"QA01RTVN","version":"1.2.3.4","systemVersion":"5.6.7.8",)"
            R"("applicationVersion":"9.10.11.12","hardwareRevisions":["A","B"],"files":2,)"
            R"("bytes":3099})"
            "\n"
            R"({"event":"progress","percent":0,"bytes":0,"total":3099})"
            "\n"
            R"({"event":"progress","percent":100,"bytes":3099,"total":3099})"
            "\n"
            R"({"event":"script","script":"Script.run","line":"a \"b\""})"
            "\n"
            R"({"event":"script","script":"Script.run","line":"c"})"
            "\n"
            R"({"event":"log","level":"info","message":"Firmware installation succeded"})"
            "\n"
            R"({"event":"verdict","result":"installed","exitStatus":0,"message":"installed 2 )"
            R"(files, 3.0 KiB in )" +
            place + "\"}\n");
}

TEST_F(HostReport, TellsTheVerdictsApartInJson) {
    const auto verdict = [](const ProcessResult& result) {
        const std::size_t at = result.out.find(R"({"event":"verdict")");
        return result.out.substr(at, result.out.find(R"(,"message")", at) - at);
    };
    const auto sound = PackageBuilder().firmware("app", "a").build(directory, "sound.zip");
    const auto damaged =
        PackageBuilder().firmware("app", "a").flipBit("app").build(directory, "damaged.zip");
    const std::string start = R"({"event":"verdict","result":)";
    EXPECT_EQ(verdict(run(command(sound, {"--json", "--verify"}))),
              start + R"("valid","exitStatus":0)");
    EXPECT_EQ(verdict(run(command(sound, {"--json", "--dry-run"}))),
              start + R"("valid","exitStatus":0)");
    EXPECT_EQ(verdict(run(command(damaged, {"--json"}))), start + R"("refused","exitStatus":1)");
    EXPECT_EQ(verdict(run(command(damaged, {"--json", "--no-check"}))),
              start + R"("failed","exitStatus":1)");
}

TEST_F(HostReport, LetsNoNameFromAPackageActOnATerminal) {
    // C1 control sequence introducer, next line, right-to-left override, Arabic letter mark.
    const std::string hostile =
        "a\xC2\x9B"
        "2J\xC2\x85\xE2\x80\xAE\xD8\x9C\xE6\x97\xA5";
    const std::string shown = "a?2J???\xE6\x97\xA5";
    const auto damaged =
        PackageBuilder().firmware(hostile, "a").flipBit(hostile).build(directory, "damaged.zip");
    EXPECT_EQ(run(command(damaged)).err, "firmware-host: " + shown + " is damaged\n");
    EXPECT_THAT(run(command(damaged, {"--no-check"})).err,
                HasSubstr("firmware-host: error: Failed to process: " + shown + "\n"));
    const auto sound = PackageBuilder()
                           .file(Pack::PayloadKind::Script, hostile, "Script.run",
                                 "printf 'x\\033[2J\\tred\\377\\r\\n\\342\\200\\256y\\rz\\n'\n")
                           .firmware(hostile + hostile, "a")
                           .build(directory);
    EXPECT_THAT(run(command(sound, {"--dry-run"})).out,
                HasSubstr("\n" + shown + shown + ": new\n"));
    const std::string lines = "\n" + shown + ": x?[2J red?\n" + shown + ": ?y?z\n";
    EXPECT_THAT(run(command(sound)).out, HasSubstr(lines));
    EXPECT_THAT(run(command(sound, {"--json"})).out,
                HasSubstr(R"({"event":"script","script":")" + shown + R"(","line":"x?[2J red?"})"));
}

TEST_F(HostReport, SaysThatATinyPackageIsComplete) {
    const auto package = PackageBuilder().firmware("app", "a").build(directory);
    EXPECT_EQ(run(command(package)).out,
              package.string() + ": QA01RTVN, version 1.2.3.4, 1 file, 1 B\n" +
                  "0 %, 0 B of 1 B\n100 %, 1 B of 1 B\ninstalled 1 file, 1 B in " +
                  target.path().string() + "\n");
}

TEST_F(HostReport, KeepsTheOrderOfBothStreams) {
    const auto package = PackageBuilder()
                             .firmware("first", std::string(1 << 20, 'a'))
                             .script("Script.run", "echo printed; exit 1\n")
                             .build(directory);
    std::vector<std::string> words = {"sh", "-c", "\"$@\" 2>&1 | cat", "sh"};
    const std::vector<std::string> host = command(package, {"--no-check"});
    words.insert(words.end(), host.begin(), host.end());
    EXPECT_EQ(run(words).out, package.string() +
                                  ": QA01RTVN, version 1.2.3.4, 2 files, 1.0 MiB\n"
                                  "0 %, 0 B of 1.0 MiB\n"
                                  "100 %, 1.0 MiB of 1.0 MiB\n"
                                  "Script.run: printed\n"
                                  "firmware-host: error: Failed to process: Script.run\n"
                                  "firmware-host: installation failed; what was installed before "
                                  "stays\n");
}

}  // namespace
