// firmware-host on a terminal of its own.

#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

#include "HostFixture.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// A process whose controlling terminal is held here, 60 columns wide.
class TerminalProcess {
public:
    explicit TerminalProcess(const std::vector<std::string>& words) {
        std::vector<char*> argv;
        const std::vector<std::string> command = withEmulator(words);
        for (const std::string& word : command) {
            argv.push_back(const_cast<char*>(word.c_str()));
        }
        argv.push_back(nullptr);
        const winsize size = {24, 60, 0, 0};
        id_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
        if (id_ == 0) {
            ::execvp(argv[0], argv.data());
            ::_exit(127);
        }
    }
    ~TerminalProcess() {
        ::close(terminal_);
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
    }
    TerminalProcess(const TerminalProcess&) = delete;
    TerminalProcess& operator=(const TerminalProcess&) = delete;

    const std::string& output() const { return output_; }

    // Reads until the text appears, or the process ends, or half a minute has passed.
    bool readUntil(const std::string& text) {
        while (output_.find(text) == std::string::npos && readMore()) {
        }
        return output_.find(text) != std::string::npos;
    }

    void type(char key) const { EXPECT_EQ(::write(terminal_, &key, 1), 1); }

    int wait() {
        while (readMore()) {
        }
        int status = 0;
        ::waitpid(id_, &status, 0);
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    bool readMore() {
        pollfd readable = {terminal_, POLLIN, 0};
        std::array<char, 4096> chunk{};
        if (::poll(&readable, 1, 30000) <= 0) {
            return false;
        }
        const ssize_t count = ::read(terminal_, chunk.data(), chunk.size());
        if (count <= 0) {
            return false;
        }
        output_.append(chunk.data(), static_cast<std::size_t>(count));
        return true;
    }

    int terminal_ = -1;
    pid_t id_ = -1;
    std::string output_;
};

class HostTerminal : public HostFixture {
protected:
    void SetUp() override {
        if (!emulator().empty()) {
            GTEST_SKIP()
                << "nothing comes through a pseudo-terminal that was opened under qemu-arm";
        }
        HostFixture::SetUp();
    }
};

constexpr char eraseLine[] = "\r\x1b[K";

TEST_F(HostTerminal, DrawsABarOverItself) {
    const auto package = PackageBuilder()
                             .firmware("a", std::string(3 << 20, 'a'))
                             .firmware("b", std::string(1 << 20, 'b'))
                             .build(directory);
    TerminalProcess host(command(package));
    EXPECT_EQ(host.wait(), 0);
    const std::string start =
        package.string() + ": QA01RTVN, version 1.2.3.4, 2 files, 4.0 MiB\r\n";
    const std::string erase = eraseLine;
    EXPECT_EQ(host.output(),
              start + erase + "[" + std::string(31, '-') + "] 0 %, 0 B of 4.0 MiB" + erase + "[" +
                  std::string(23, '#') + std::string(8, '-') + "] 75 %, 3.0 MiB of 4.0 MiB" +
                  erase + "[" + std::string(31, '#') + "] 100 %, 4.0 MiB of 4.0 MiB" + erase +
                  "installed 2 files, 4.0 MiB in " + target.path().string() + "\r\n");
}

TEST_F(HostTerminal, PutsLogLinesInPlaceOfTheBar) {
    const auto package = PackageBuilder().firmware("a", "a").flipBit("a").build(directory);
    TerminalProcess host(command(package));
    EXPECT_EQ(host.wait(), 1);
    EXPECT_THAT(host.output(), HasSubstr(std::string(eraseLine) +
                                         "firmware-host: error: Failed to process: a\r\n"));
    EXPECT_THAT(host.output(), HasSubstr(std::string(eraseLine) +
                                         "firmware-host: installation failed; what was installed "
                                         "before stays\r\n"));
}

TEST_F(HostTerminal, ControlCLetsTheScriptUnderWayFinish) {
    const auto package = PackageBuilder()
                             .script("Script.run",
                                     "cd \"${0%/*}\"\n"
                                     "echo script runs\n"
                                     "until [ -e proceed ]; do sleep 0.01; done\n"
                                     "echo script ends\n")
                             .firmware("later", "data")
                             .build(directory);
    TerminalProcess host(command(package));
    ASSERT_TRUE(host.readUntil("script runs"));
    host.type('\x03');
    ASSERT_TRUE(host.readUntil("cancellation requested, the file under way is finished first"));
    EXPECT_THAT(host.output(), Not(HasSubstr("script ends")));
    target.write("proceed", "");
    EXPECT_EQ(host.wait(), 3);
    EXPECT_THAT(host.output(), HasSubstr("script ends"));
    EXPECT_THAT(host.output(),
                HasSubstr("firmware-host: installation cancelled; what was installed before "
                          "stays\r\n"));
    EXPECT_THAT(target.files(), ElementsAre("Script.run", "proceed"));
}

}  // namespace
