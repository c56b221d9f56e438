// Cancellation of firmware-host by signals, from the shell as from a service manager.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;

constexpr char cancelled[] =
    "firmware-host: cancellation requested, the file under way is finished first\n"
    "firmware-host: warning: Firmware installation canceled\n"
    "firmware-host: installation ended after a request for cancellation; what was installed by "
    "then stays\n";

class HostSignal : public HostFixture {
protected:
    // Its script says that it runs, and ends when it is told to.
    boost::filesystem::path waitingPackage() const {
        return PackageBuilder()
            .script("Script.run",
                    "cd \"${0%/*}\"\n"
                    "echo > started\n"
                    "until [ -e proceed ]; do sleep 0.01; done\n"
                    "echo > ended\n")
            .firmware("later", "data")
            .build(directory);
    }

    void waitFor(const std::string& file) const {
        for (int i = 0; i < 3000; ++i) {
            const std::vector<std::string> files = target.files();
            if (std::find(files.begin(), files.end(), file) != files.end()) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        FAIL() << file << " does not appear";
    }

    void waitForError(const Process& process, const std::string& text) const {
        for (int i = 0; i < 3000; ++i) {
            if (process.errorSoFar().find(text) != std::string::npos) {
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        FAIL() << text << " is not said";
    }
};

class HostSignalKind : public HostSignal, public testing::WithParamInterface<int> {};

TEST_P(HostSignalKind, CancelsAfterTheFileUnderWay) {
    Process host(command(waitingPackage()));
    waitFor("started");
    ASSERT_EQ(::kill(host.id(), GetParam()), 0);
    // Said at once, while the script still runs.
    waitForError(host, "cancellation requested");
    target.write("proceed", "");
    const ProcessResult result = host.wait();
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.err, cancelled);
    EXPECT_THAT(target.files(), ElementsAre("Script.run", "ended", "proceed", "started"));
}

INSTANTIATE_TEST_SUITE_P(All, HostSignalKind, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& signal) {
                             return std::string(::sigabbrev_np(signal.param));
                         });

TEST_F(HostSignal, EachRequestIsAcknowledgedAndNoneKills) {
    Process host(command(waitingPackage()));
    waitFor("started");
    ::kill(host.id(), SIGINT);
    waitForError(host, "first\n");
    ::kill(host.id(), SIGINT);
    waitForError(host, "first\nfirmware-host: cancellation requested");
    target.write("proceed", "");
    EXPECT_EQ(host.wait().status, 3);
}

TEST_F(HostSignal, InterruptsToTheScriptDoNotStopIt) {
    // Some shells unblock all signals once they have run a program.
    const auto package =
        PackageBuilder()
            .script("Script.run", "/bin/true; kill -INT $$; kill -HUP $$; exit 0\n")
            .build(directory);
    EXPECT_EQ(run(command(package)).status, 0);
}

TEST_F(HostSignal, ScriptsCanBeTerminatedAsUsual) {
    const auto package =
        PackageBuilder().script("Script.run", "kill -TERM $$; exit 0\n").build(directory);
    EXPECT_EQ(run(command(package)).status, 1);
}

TEST_F(HostSignal, BrokenPipesEndScriptsAsUsual) {
    const auto package =
        PackageBuilder().script("Script.run", "kill -PIPE $$; exit 0\n").build(directory);
    EXPECT_EQ(run(command(package)).status, 1);
}

TEST_F(HostSignal, ScriptsInheritTheDescriptorsOfTheHostsCallerOnly) {
    const std::string list = "ls -m /proc/self/fd\n";
    const auto package = PackageBuilder().script("Script.run", list + "exit 0\n").build(directory);
    const ProcessResult result = run(command(package));
    ASSERT_EQ(result.status, 0);
    EXPECT_THAT(result.out, testing::HasSubstr("\nScript.run: " + run({"sh", "-c", list}).out));
}

TEST_F(HostSignal, ARequestAfterTheLastFileIsStillACancellation) {
    const auto package = PackageBuilder()
                             .script("Script.run",
                                     "cd \"${0%/*}\"\n"
                                     "echo > started\n"
                                     "until [ -e proceed ]; do sleep 0.01; done\n")
                             .build(directory);
    Process host(command(package));
    waitFor("started");
    ::kill(host.id(), SIGINT);
    waitForError(host, "cancellation requested");
    target.write("proceed", "");
    EXPECT_EQ(host.wait().status, 3);
}

TEST_F(HostSignal, AnIgnoredHangupStaysIgnored) {
    std::vector<std::string> words = {"sh", "-c", "trap '' HUP; exec \"$@\"", "sh"};
    const std::vector<std::string> hostCommand = command(waitingPackage());
    words.insert(words.end(), hostCommand.begin(), hostCommand.end());
    Process host(words);
    waitFor("started");
    ::kill(host.id(), SIGHUP);
    target.write("proceed", "");
    const ProcessResult result = host.wait();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
}

}  // namespace
