// What scripts do, and what hosts do to the signals and descriptors that scripts depend on.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>

#include "Installation.h"
#include "Process.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;
using Common::FileKind;
using testing::ElementsAre;

const LogRecord failed = failedOn("Script.run");

class Scripts : public FaultTest {
protected:
    std::vector<bool> run(const std::string& script) {
        return installAll({{"Script.run", script, FileKind::Script}});
    }
};

TEST_F(Scripts, ExitStatusZeroIsSuccess) {
    const LogCapture log;
    EXPECT_THAT(run("exit 0\n"), ElementsAre(true));
    EXPECT_THAT(log.records(), ElementsAre(succeeded));
}

TEST_F(Scripts, AnyOtherExitStatusIsFailure) {
    for (const int status : {1, 2, 126, 127, 128, 255}) {
        const LogCapture log;
        EXPECT_THAT(run(fmt::format("exit {}\n", status)), ElementsAre(false)) << status;
        EXPECT_THAT(log.records(), ElementsAre(failed)) << status;
    }
}

TEST_F(Scripts, DeathBySignalIsFailure) {
    for (const char* const name : {"KILL", "SEGV", "TERM"}) {
        const LogCapture log;
        EXPECT_THAT(run(fmt::format("kill -{} $$\n", name)), ElementsAre(false)) << name;
        EXPECT_THAT(log.records(), ElementsAre(failed)) << name;
    }
}

TEST_F(Scripts, MissingCommandIsFailure) {
    EXPECT_THAT(run("/nonexistent/program\n"), ElementsAre(false));
}

TEST_F(Scripts, BackgroundChildIsNotWaitedFor) {
    const fs::path id = directory / "id";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THAT(run(fmt::format("sleep 30 & echo $! > {}\n", id.native())), ElementsAre(true));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    EXPECT_EQ(kill(std::stoi(readFile(id)), SIGKILL), 0) << "the child was still running";
}

// Runs `body` in a process of its own and returns how that ended.
int statusOf(const std::function<void()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

struct Output {
    std::size_t out = 0;
    std::size_t err = 0;
    int status = -1;
};

// The same, with both output streams read to their ends and counted.
Output outputOf(const std::function<void()>& body) {
    std::array<std::array<int, 2>, 2> pipes{};
    if (pipe(pipes[0].data()) != 0 || pipe(pipes[1].data()) != 0) {
        throw std::runtime_error("no pipes");
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(pipes[0][1], STDOUT_FILENO);
        dup2(pipes[1][1], STDERR_FILENO);
        body();
        _exit(0);
    }
    Output output;
    std::size_t* const counts[] = {&output.out, &output.err};
    std::array<pollfd, 2> streams{};
    for (std::size_t stream = 0; stream < pipes.size(); ++stream) {
        close(pipes[stream][1]);
        streams[stream] = {pipes[stream][0], POLLIN, 0};
    }
    // Both at once: whoever fills one of them must not have to wait for the end of the other.
    for (int open = 2; open > 0;) {
        poll(streams.data(), streams.size(), -1);
        for (std::size_t stream = 0; stream < streams.size(); ++stream) {
            std::array<char, 4096> buffer{};
            const ssize_t count = streams[stream].revents == 0
                                      ? 0
                                      : read(streams[stream].fd, buffer.data(), buffer.size());
            *counts[stream] += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
            if (streams[stream].revents != 0 && count <= 0) {
                close(streams[stream].fd);
                streams[stream].fd = -1;
                --open;
            }
        }
    }
    waitpid(child, &output.status, 0);
    return output;
}

TEST_F(Scripts, OutputGoesToTheStreamsOfTheHost) {
    const std::size_t size = std::size_t{1} << 20;
    const Output output = outputOf([this, size] {
        const LogCapture log;  // would go to one of the two
        const bool right = run(fmt::format("head -c {0} /dev/zero\nhead -c {0} /dev/zero >&2\n",
                                           size)) == std::vector<bool>{true};
        _exit(right ? 0 : 1);
    });
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.out, size);
    EXPECT_EQ(output.err, size);
}

void reapEveryChild(int) {
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

TEST_F(Scripts, HostMayIgnoreSigchld) {
    EXPECT_EQ(statusOf([this] {
                  std::signal(SIGCHLD, SIG_IGN);
                  const bool right = run("exit 0\n") == std::vector<bool>{true} &&
                                     run("exit 3\n") == std::vector<bool>{false};
                  const bool isDefault = std::signal(SIGCHLD, SIG_DFL) == SIG_DFL;
                  _exit(right && isDefault ? 0 : 1);
              }),
              0);
}

TEST_F(Scripts, HostMayHaveASigchldHandlerThatReapsEverything) {
    EXPECT_EQ(statusOf([this] {
                  std::signal(SIGCHLD, reapEveryChild);
                  const bool right = run("exit 0\n") == std::vector<bool>{true} &&
                                     run("exit 3\n") == std::vector<bool>{false};
                  const bool isDefault = std::signal(SIGCHLD, SIG_DFL) == SIG_DFL;
                  _exit(right && isDefault ? 0 : 1);
              }),
              0);
}

TEST_F(Scripts, ChildrenOfTheHostAreLeftToTheHost) {
    const pid_t own = fork();
    if (own == 0) {
        _exit(42);
    }
    EXPECT_THAT(run("exit 0\n"), ElementsAre(true));
    int status = 0;
    ASSERT_EQ(waitpid(own, &status, 0), own);
    EXPECT_EQ(WEXITSTATUS(status), 42);
}

TEST_F(Scripts, HostMayHaveHundredsOfOpenDescriptors) {
    EXPECT_EQ(statusOf([this] {
                  for (int count = 0; count < 500; ++count) {
                      if (open("/dev/null", O_RDONLY) < 0) {
                          _exit(2);
                      }
                  }
                  _exit(run("exit 0\n") == std::vector<bool>{true} ? 0 : 1);
              }),
              0);
}

TEST_F(Scripts, DescriptorsOfTheLibraryAreNotInherited) {
    const fs::path list = directory / "list";
    ASSERT_THAT(run(fmt::format("ls -l /proc/$$/fd > {}\n", list.native())), ElementsAre(true));
    const std::string open = readFile(list);
    EXPECT_THAT(open, testing::HasSubstr("Script.run")) << "the shell's own";
    EXPECT_THAT(open, testing::Not(testing::HasSubstr("firmware.zip")));
}

TEST_F(Scripts, WithoutAFreeDescriptorTheLaunchFails) {
    if (underValgrind()) {
        GTEST_SKIP() << "valgrind gives another error once its own descriptors are used up";
    }
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "UndefinedBehaviorSanitizer looks at objects through a pipe of its own";
#endif
    EXPECT_EQ(
        statusOf([this] {
            const LogCapture log;
            const std::vector<Payload> files{{"Script.run", "exit 0\n", FileKind::Script}};
            writePackage(package(), files);
            auto firmware = validated(package(), files);
            rlimit limit{};
            getrlimit(RLIMIT_NOFILE, &limit);
            limit.rlim_cur = 64;
            setrlimit(RLIMIT_NOFILE, &limit);
            int last = -1;
            for (int next; (next = open("/dev/null", O_RDONLY)) >= 0;) {
                last = next;
            }
            // One is enough to write the file and too few for the pipe of the launch.
            close(last);
            const auto completions = install(std::move(firmware), target());
            const std::string command = fmt::format(
                "Faild to execute command \"/bin/sh {}/Script.run "
                "/UpdateApplicationFiles:True /UpdateSystemFiles:True "
                "/CommissioningMode:False\" (Too many open files)",
                target().native());
            const std::vector<LogRecord> records{{spdlog::level::err, command, "done"}, failed};
            const bool right = completions == std::vector<bool>{false} && log.records() == records;
            _exit(right ? 0 : 1);
        }),
        0);
}

}  // namespace
}  // namespace Norv::Corvane::Test
