// Starting a script in difficult hosts: without free descriptors, or with signal handling of their
// own.

#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/resource.h>

#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <string>
#include <system_error>

#include "LogCapture.h"
#include "Norv/Corvane/Common/ScriptRunner.h"
#include "Process.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;

class ScriptLaunch : public testing::Test {
protected:
    // Of the file that `name` is below the directory.
    ScriptRunner runnerOf(const std::string& name) const {
        FirmwareDescription::File file;
        file.kind = FileKind::Script;
        file.localFilePath = name;
        return {directory.path(), file};
    }

    // Installs a script and runs it.
    bool run(const std::string& text, const std::string& name = "Script.run") const {
        directory.write(name, text);
        return runnerOf(name).done();
    }

    TemporaryDirectory directory;
    LogCapture log;
};

TEST_F(ScriptLaunch, LogsTheCommandWhenNoProcessCanBeStarted) {
    if (underValgrind()) {
        GTEST_SKIP() << "valgrind gives another error once its own descriptors are used up";
    }
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "UndefinedBehaviorSanitizer looks at objects through a pipe of its own";
#endif
    directory.write("Script.run", "echo ran > " + (directory / "mark").native() + "\n");
    ScriptRunner runner = runnerOf("Script.run");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    // Launching needs a pipe, and with that limit there is none.
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool verdict = runner.done();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);

    EXPECT_FALSE(verdict);
    EXPECT_FALSE(boost::filesystem::exists(directory / "mark"));
    EXPECT_THAT(log.records(),
                testing::ElementsAre(LogRecord{
                    spdlog::level::err,
                    "Faild to execute command \"/bin/sh " + (directory / "Script.run").native() +
                        " /UpdateApplicationFiles:True /UpdateSystemFiles:True"
                        " /CommissioningMode:False\" (" +
                        std::make_error_code(std::errc::too_many_files_open).message() + ")",
                    "done"}));
}

TEST_F(ScriptLaunch, RunsScriptsForAHostThatIgnoresItsChildren) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    const bool succeeded = run("exit 0\n");
    const auto after = std::signal(SIGCHLD, before);
    EXPECT_TRUE(succeeded);
    EXPECT_EQ(after, SIG_DFL);

    std::signal(SIGCHLD, SIG_IGN);
    const bool failed = !run("exit 3\n");
    std::signal(SIGCHLD, before);
    EXPECT_TRUE(failed);
}

TEST_F(ScriptLaunch, IsReadyToBeToldOfTheEndBeforeTheScriptCanBegin) {
    // A child that ends while its parent ignores such ends cannot be waited for.
    static void (*atFork)(int) = SIG_ERR;
    ASSERT_EQ(pthread_atfork(
                  [] {
                      struct sigaction current {};
                      sigaction(SIGCHLD, nullptr, &current);
                      atFork = current.sa_handler;
                  },
                  nullptr, nullptr),
              0);
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(run("exit 0\n"));
    std::signal(SIGCHLD, before);
    EXPECT_EQ(atFork, SIG_DFL);
}

TEST_F(ScriptLaunch, LeavesTheSignalAloneWhenThereIsNothingToRun) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_TRUE(run("exit 0\n", "install.sh"));
    EXPECT_EQ(std::signal(SIGCHLD, before), SIG_IGN);
}

}  // namespace
