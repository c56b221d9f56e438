// Waiting for a script that is interrupted, or that fails.

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "BoostProcess.h"
#include "Norv/Corvane/Common/ScriptRunner.h"
#include "TemporaryDirectory.h"

namespace {

// Errors with which the next calls of `waitpid` fail, the last one first.
std::vector<int> failures;

// Told of each wait as it begins; empty if nobody is.
std::function<void(pid_t child, int options)> onWait;

}  // namespace

// In place of the C library's, for this program and the libraries that it uses.
extern "C" pid_t waitpid(pid_t child, int* status, int options) {
    if (!failures.empty()) {
        errno = failures.back();
        failures.pop_back();
        return -1;
    }
    if (onWait) {
        onWait(child, options);
    }
    return static_cast<pid_t>(syscall(SYS_wait4, child, status, options, nullptr));
}

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;

// How many entries the directory has that `matches` holds for.
std::ptrdiff_t countOf(const char* directory, bool (*matches)(const std::filesystem::path&)) {
    const std::filesystem::directory_iterator entries(directory);
    return std::count_if(begin(entries), end(entries),
                         [matches](const auto& entry) { return matches(entry.path()); });
}

std::ptrdiff_t threads() {
    return countOf("/proc/self/task", [](const std::filesystem::path&) { return true; });
}

// Everything by which a process can have itself woken later, except another thread or process.
std::ptrdiff_t armedTimers() {
    std::ptrdiff_t armed = 0;
    for (const auto kind : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
        itimerval timer{};
        armed += getitimer(kind, &timer) == 0 && !timerisset(&timer.it_value) ? 0 : 1;
    }
    std::string line;
    for (std::ifstream timers("/proc/self/timers"); std::getline(timers, line);) {
        armed += line.compare(0, 4, "ID: ") == 0 ? 1 : 0;
    }
    return armed + countOf("/proc/self/fd", [](const std::filesystem::path& descriptor) {
               std::error_code gone;
               return std::filesystem::read_symlink(descriptor, gone) == "anon_inode:[timerfd]";
           });
}

// The processes that this thread has started and not waited for.
std::string children() {
    std::string ids;
    std::getline(std::ifstream("/proc/thread-self/children"), ids);
    return ids;
}

class ScriptWait : public testing::Test {
protected:
    void SetUp() override {
        directory.write("Script.run", "exit 0\n");
        script.kind = FileKind::Script;
        script.localFilePath = "Script.run";
    }
    void TearDown() override {
        failures.clear();
        onWait = nullptr;
    }

    TemporaryDirectory directory;
    FirmwareDescription::File script;
};

TEST_F(ScriptWait, GoesOnWhenASignalInterruptsIt) {
    failures = {EINTR, EINTR};
    EXPECT_TRUE(ScriptRunner(directory.path(), script).done());
    EXPECT_THAT(failures, testing::IsEmpty()) << "the waits were not interrupted";
}

TEST_F(ScriptWait, ThrowsWhenItFails) {
    failures = {ECHILD};
    ScriptRunner runner(directory.path(), script);
    try {
        runner.done();
        FAIL() << "nothing was thrown";
    } catch (const process::process_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_child_process);
        EXPECT_THAT(error.what(), testing::HasSubstr("wait error"));
    }
}

// Nothing is left that could end the wait: neither the wait itself, nor a timer, nor another thread
// or process that would, nor a limit that the script was given.
TEST_F(ScriptWait, HasNoTimeLimit) {
    const std::string proceed = (directory / "proceed").native();
    ASSERT_EQ(mkfifo(proceed.c_str(), 0600), 0);
    directory.write("Script.run", "cat " + proceed + "\n");
    const auto threadsBefore = threads();
    int waits = 0;
    onWait = [&](pid_t child, int options) {
        if (++waits > 1) {
            return;
        }
        EXPECT_EQ(options, 0) << "returns before the script ends";
        EXPECT_EQ(armedTimers(), 0);
        EXPECT_EQ(threads(), threadsBefore);
        EXPECT_EQ(children(), std::to_string(child) + " ");
        rlimit limit{};
        rlimit own{};
        EXPECT_EQ(prlimit(child, RLIMIT_CPU, nullptr, &limit), 0);
        EXPECT_EQ(getrlimit(RLIMIT_CPU, &own), 0);
        EXPECT_EQ(limit.rlim_cur, own.rlim_cur);
        // Until then, the script does not end.
        directory.write("proceed", "");
    };
    EXPECT_TRUE(ScriptRunner(directory.path(), script).done());
    EXPECT_EQ(waits, 1);
}

}  // namespace
