// Waiting for a script that is interrupted, or that fails.

#include <gmock/gmock.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "BoostProcess.h"
#include "Norv/Corvane/Common/ScriptRunner.h"
#include "TemporaryDirectory.h"

namespace {

// Errors with which the next calls of `waitpid` fail, the last one first.
std::vector<int> failures;

}  // namespace

// In place of the C library's, for this program and the libraries that it uses.
extern "C" pid_t waitpid(pid_t child, int* status, int options) {
    if (!failures.empty()) {
        errno = failures.back();
        failures.pop_back();
        return -1;
    }
    return static_cast<pid_t>(syscall(SYS_wait4, child, status, options, nullptr));
}

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;

class ScriptWait : public testing::Test {
protected:
    void SetUp() override {
        directory.write("Script.run", "exit 0\n");
        script.kind = FileKind::Script;
        script.localFilePath = "Script.run";
    }
    void TearDown() override { failures.clear(); }

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

}  // namespace
