// What scripts print comes through firmware-host.

#include <signal.h>

#include <string>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::HasSubstr;
using testing::Not;

class HostScripts : public HostFixture {
protected:
    // The lines that come from scripts.
    static std::string printed(const ProcessResult& result) {
        const std::size_t start = result.out.find("B\n0 %");
        const std::size_t first = result.out.find('\n', start + 2) + 1;
        return result.out.substr(first, result.out.find("100 %") - first);
    }

    ProcessResult runRedirected(const std::string& redirection,
                                const boost::filesystem::path& package,
                                const std::vector<std::string>& options = {}) const {
        std::vector<std::string> words = {"sh", "-c", "exec \"$@\" " + redirection, "sh"};
        const std::vector<std::string> host = command(package, options);
        words.insert(words.end(), host.begin(), host.end());
        return run(words);
    }
};

TEST_F(HostScripts, PrintWithTheirNames) {
    const auto package = PackageBuilder()
                             .script("one/Script.run", "echo a; echo b >&2; echo; printf end\n")
                             .script("two/Script.run", "echo c\n")
                             .build(directory);
    const ProcessResult result = run(command(package));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(printed(result),
              "one/Script.run: a\none/Script.run: b\none/Script.run: \none/Script.run: end\n"
              "two/Script.run: c\n");
}

TEST_F(HostScripts, ThatAreNeverRunAreNotCounted) {
    const auto package = PackageBuilder()
                             .script("library.sh", "echo never\n")
                             .script("Script.run", "echo ran\n")
                             .build(directory);
    EXPECT_EQ(printed(run(command(package))), "Script.run: ran\n");
}

TEST_F(HostScripts, KeepTheirNamesForWhatTheyLeaveRunning) {
    const auto package =
        PackageBuilder()
            .script("oneScript.run",
                    "cd \"${0%/*}\"; echo early\n"
                    "{ until [ -e two ]; do sleep 0.01; done; echo late; echo > done; } &\n")
            .script("twoScript.run",
                    "cd \"${0%/*}\"; echo > two\n"
                    "until [ -e done ]; do sleep 0.01; done; echo second\n")
            .build(directory);
    EXPECT_EQ(printed(run(command(package))),
              "oneScript.run: early\noneScript.run: late\ntwoScript.run: second\n");
}

TEST_F(HostScripts, DoNotKeepTheHostByWhatTheyLeaveRunning) {
    const auto package = PackageBuilder()
                             .script("Script.run",
                                     "sleep 600 &\n"
                                     "echo $! > \"${0%/*}/left\"\n"
                                     "printf 'no newline'\n")
                             .build(directory);
    const ProcessResult result = run(command(package));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(printed(result), "Script.run: no newline\n");
    const pid_t left = std::stoi(readFile(target / "left"));
    // Still there: nobody waited for it.
    EXPECT_EQ(::kill(left, SIGKILL), 0);
}

TEST_F(HostScripts, PrintEndlesslyInTheBackgroundWithoutHoldingTheHostUp) {
    const auto package = PackageBuilder()
                             .script("Script.run", "yes endless &\necho started\n")
                             .firmware("later", "a")
                             .build(directory);
    // Its reader goes away with the host, which ends it.
    const ProcessResult result = runRedirected("> /dev/null", package);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(readFile(target / "later"), "a");
}

TEST_F(HostScripts, LeaveTheHostItsOwnStreams) {
    const auto package =
        PackageBuilder()
            .script(
                "Script.run",
                "tries=0\n"
                "while [ \"$(readlink /proc/$PPID/fd/1)\" = \"$(readlink /proc/$$/fd/1)\" ]; do\n"
                "    tries=$((tries + 1)); [ $tries -lt 500 ] || exit 1; sleep 0.01\n"
                "done\n")
            .build(directory);
    EXPECT_EQ(run(command(package)).status, 0);
}

TEST_F(HostScripts, AreHeardToTheEndBeforeTheirFailureIsTold) {
    // More than fits into the pipe that nobody reads from until the script has ended.
    const auto package = PackageBuilder()
                             .script("Script.run",
                                     "i=0; while [ $i -lt 3600 ]; do\n"
                                     "    echo \"line $i of many, many more\"; i=$((i + 1))\n"
                                     "done\n"
                                     "echo > \"${0%/*}/ended\"; exit 1\n")
                             .build(directory);
    std::vector<std::string> words = {"sh", "-c",
                                      "\"$@\" 2>&1 | {\n"
                                      "    i=0; until [ -e \"$0/ended\" ] || [ $i -gt 999 ]; do\n"
                                      "        i=$((i + 1)); sleep 0.01; done\n"
                                      "    sleep 0.5; cat; }",
                                      target.path().string()};
    const std::vector<std::string> host = command(package);
    words.insert(words.end(), host.begin(), host.end());
    const std::string out = run(words).out;
    EXPECT_LT(out.find("line 3599 of"), out.find("Failed to process"));
    EXPECT_THAT(out, HasSubstr("Failed to process"));
}

TEST_F(HostScripts, PrintLongLinesInPieces) {
    const auto package = PackageBuilder()
                             .script("Script.run", "head -c 10000 /dev/zero | tr '\\0' x\n")
                             .build(directory);
    const std::string name = "Script.run: ";
    EXPECT_EQ(printed(run(command(package))), name + std::string(4096, 'x') + "\n" + name +
                                                  std::string(4096, 'x') + "\n" + name +
                                                  std::string(1808, 'x') + "\n");
}

TEST_F(HostScripts, NeedNobodyToReadWhatTheyPrint) {
    const auto package =
        PackageBuilder()
            .script("Script.run", "set -e; head -c 300000 /dev/zero | tr '\\0' '\\n'; echo end\n")
            .firmware("later", "a")
            .build(directory);
    EXPECT_EQ(runRedirected("> /dev/full 2>&1", package).status, 0);
    EXPECT_EQ(readFile(target / "later"), "a");
    std::vector<std::string> words = {"sh", "-c",
                                      "{ \"$@\"; echo $? > \"$0\"; } | head -n 1 > /dev/null",
                                      (directory / "status").string()};
    const std::vector<std::string> host = command(package);
    words.insert(words.end(), host.begin(), host.end());
    EXPECT_EQ(run(words).status, 0);
    EXPECT_EQ(readFile(directory / "status"), "0\n");
}

TEST_F(HostScripts, PrintIntoALogFileOnRequest) {
    const auto package = PackageBuilder().script("Script.run", "echo a; echo b\n").build(directory);
    const std::string log = directory.write("log", "before\n").string();
    const ProcessResult result = run(command(package, {"--script-log", log}));
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.out, Not(HasSubstr("Script.run")));
    EXPECT_EQ(readFile(log), "before\nScript.run: a\nScript.run: b\n");
}

TEST_F(HostScripts, DoNotFailBecauseTheirLogFileTakesNoMore) {
    const auto package = PackageBuilder().script("Script.run", "echo a; echo b\n").build(directory);
    const ProcessResult result = run(command(package, {"--script-log", "/dev/full"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "firmware-host: cannot write /dev/full: No space left on device\n");
}

TEST_F(HostScripts, AreHeardToTheEndBeforeTheProcessEndsForWantOfAFile) {
    const auto package = PackageBuilder()
                             .script("Script.run",
                                     "sleep 600 &\n"
                                     "echo $! > \"${0%/*}/left\"\n"
                                     "printf 'last words'\n")
                             .firmware("app", "a")
                             .omit("app")
                             .build(directory);
    const ProcessResult result = run(command(package, {"--no-check"}));
    EXPECT_EQ(result.status, 128 + SIGABRT);
    EXPECT_THAT(result.out, HasSubstr("Script.run: last words\n"));
    EXPECT_THAT(result.err, HasSubstr("firmware-host: installation failed: No such file\n"));
    ::kill(std::stoi(readFile(target / "left")), SIGKILL);
}

TEST_F(HostScripts, GetTheEnvironmentOfTheUser) {
    const auto package =
        PackageBuilder()
            .script("Script.run", "echo \"${SSL_CERT_FILE-unset} ${SSL_CERT_DIR-unset}\"\n")
            .build(directory);
    const auto runIn = [&](const std::vector<std::string>& environment) {
        std::vector<std::string> words = {"env"};
        const std::vector<std::string> host = command(package);
        words.insert(words.end(), environment.begin(), environment.end());
        words.insert(words.end(), host.begin(), host.end());
        return printed(run(words));
    };
    EXPECT_EQ(runIn({"-u", "SSL_CERT_FILE", "-u", "SSL_CERT_DIR"}), "Script.run: unset unset\n");
    EXPECT_EQ(runIn({"SSL_CERT_FILE=/my/file", "SSL_CERT_DIR=/my/dir"}),
              "Script.run: /my/file /my/dir\n");
}

}  // namespace
