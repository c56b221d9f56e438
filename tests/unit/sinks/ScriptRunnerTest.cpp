#include "Norv/Corvane/Common/ScriptRunner.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <cstdlib>
#include <string>
#include <type_traits>

#include "LogCapture.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using File = FirmwareDescription::File;
using Bytes = libtorrent::span<const unsigned char>;
using boost::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = boost::filesystem;

static_assert(
    std::is_same_v<decltype(&ScriptRunner::IsExecutableScriptFile), bool (*)(const File&)>);
static_assert(std::is_same_v<decltype(&ScriptRunner::write), void (ScriptRunner::*)(Bytes, bool)>);
static_assert(std::is_same_v<decltype(&ScriptRunner::done), bool (ScriptRunner::*)()>);
static_assert(std::is_constructible_v<ScriptRunner, const path&, const File&>);
static_assert(!std::is_polymorphic_v<ScriptRunner>);
static_assert(sizeof(ScriptRunner) == sizeof(boost::optional<path>), "the path is the whole state");

File scriptAt(std::string installationPath, FileKind kind = FileKind::Script) {
    File file;
    file.kind = kind;
    file.localFilePath = std::move(installationPath);
    return file;
}

LogRecord doneError(std::string message) {
    return {spdlog::level::err, std::move(message), "done"};
}

class ScriptRunnerTest : public testing::Test {
protected:
    // Installs a script and runs it.
    bool run(const std::string& text, const std::string& name = "Script.run") const {
        directory.write(name, text);
        return ScriptRunner(directory.path(), scriptAt(name)).done();
    }

    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat((directory / name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    // A command that records that it was run.
    std::string leaveMark() const { return "echo ran >> " + (directory / "mark").native() + "\n"; }
    bool ran() const { return fs::exists(directory / "mark"); }

    TemporaryDirectory directory;
    LogCapture log;
};

TEST(IsExecutableScriptFile, NeedsTheSuffixAtTheEndOfThePath) {
    const auto executable = [](const char* name) {
        return ScriptRunner::IsExecutableScriptFile(scriptAt(name));
    };
    EXPECT_TRUE(executable("Script.run"));
    EXPECT_TRUE(executable("bin/PostScript.run"));
    EXPECT_TRUE(executable("bin/Script.run"));
    EXPECT_FALSE(executable("postscript.run"));
    EXPECT_FALSE(executable("Script.Run"));
    EXPECT_FALSE(executable("install.sh"));
    EXPECT_FALSE(executable("Script.run.sh"));
    EXPECT_FALSE(executable("Script.run/"));
    EXPECT_FALSE(executable("cript.run"));
    EXPECT_FALSE(executable(""));
}

TEST(IsExecutableScriptFile, NeedsTheScriptKind) {
    EXPECT_FALSE(ScriptRunner::IsExecutableScriptFile(scriptAt("Script.run", FileKind::Firmware)));
}

TEST(IsExecutableScriptFile, LooksAtTheRemotePathIfThereIsOne) {
    File file = scriptAt("Script.run");
    file.remoteFilePath = "other";
    EXPECT_FALSE(ScriptRunner::IsExecutableScriptFile(file));
    file.remoteFilePath = "";
    EXPECT_FALSE(ScriptRunner::IsExecutableScriptFile(file));
    file = scriptAt("other");
    file.remoteFilePath = "Script.run";
    EXPECT_TRUE(ScriptRunner::IsExecutableScriptFile(file));
}

TEST_F(ScriptRunnerTest, DoesNotRunFirmware) {
    directory.write("Script.run", leaveMark());
    EXPECT_TRUE(ScriptRunner(directory.path(), scriptAt("Script.run", FileKind::Firmware)).done());
    EXPECT_FALSE(ran());
}

TEST_F(ScriptRunnerTest, DoesNotRunScriptsOfOtherNames) {
    EXPECT_TRUE(run(leaveMark(), "install.sh"));
    EXPECT_TRUE(run(leaveMark(), "postscript.run"));
    EXPECT_FALSE(ran());
}

TEST_F(ScriptRunnerTest, DoesNotRunAScriptWithAnEmptyInstallationPath) {
    directory.write("Script.run", leaveMark());
    File file = scriptAt("Script.run");
    file.remoteFilePath = "";
    EXPECT_TRUE(ScriptRunner(directory.path(), file).done());
    EXPECT_FALSE(ran());
}

TEST_F(ScriptRunnerTest, RunsInDoneAndNotBefore) {
    directory.write("Script.run", leaveMark());
    ScriptRunner runner(directory.path(), scriptAt("Script.run"));
    const unsigned char data[] = {'x'};
    runner.write(data, true);
    EXPECT_FALSE(ran());
    EXPECT_TRUE(runner.done());
    EXPECT_EQ(readFile(directory / "mark"), "ran\n");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ScriptRunnerTest, KeepsAnAbsoluteInstallationPathBelowTheTarget) {
    directory.write("bin/Script.run", leaveMark());
    EXPECT_TRUE(ScriptRunner(directory.path(), scriptAt("/bin/Script.run")).done());
    EXPECT_TRUE(ran());
}

TEST_F(ScriptRunnerTest, RunsTheScriptAtItsRemotePath) {
    directory.write("remote/Script.run", leaveMark());
    directory.write("local", "exit 1\n");
    File file = scriptAt("local");
    file.remoteFilePath = "remote/Script.run";
    EXPECT_TRUE(ScriptRunner(directory.path(), file).done());
    EXPECT_TRUE(ran());
}

TEST_F(ScriptRunnerTest, PassesThreeSwitches) {
    const path out = directory / "out";
    EXPECT_TRUE(run("printf '%s\\n' \"$#\" \"$0\" \"$@\" > " + out.native() + "\n"));
    EXPECT_EQ(readFile(out), "3\n" + (directory / "Script.run").native() +
                                 "\n/UpdateApplicationFiles:True\n/UpdateSystemFiles:True\n"
                                 "/CommissioningMode:False\n");
}

TEST_F(ScriptRunnerTest, RunsTheScriptWithTheShellWhateverItsFirstLine) {
    EXPECT_TRUE(run("#!/no/such/interpreter\n" + leaveMark()));
    EXPECT_TRUE(ran());
}

TEST_F(ScriptRunnerTest, LetsTheScriptInheritEnvironmentAndWorkingDirectory) {
    const path out = directory / "out";
    ASSERT_EQ(setenv("CORVANE_TEST_VARIABLE", "inherited", 1), 0);
    EXPECT_TRUE(run("printf '%s\\n' \"$CORVANE_TEST_VARIABLE\" \"$(pwd -P)\" > " + out.native()));
    unsetenv("CORVANE_TEST_VARIABLE");
    EXPECT_EQ(readFile(out), "inherited\n" + fs::canonical(fs::current_path()).native() + "\n");
}

TEST_F(ScriptRunnerTest, SucceedsOnStatusZeroOnly) {
    EXPECT_TRUE(run("exit 0\n"));
    EXPECT_FALSE(run("exit 1\n"));
    EXPECT_FALSE(run("exit 3\n"));
    EXPECT_FALSE(run("exit 255\n"));
    EXPECT_THAT(log.records(), IsEmpty()) << "a failing script is not logged here";
}

TEST_F(ScriptRunnerTest, FailsWhenTheScriptIsKilled) {
    EXPECT_FALSE(run("kill -9 $$\n"));
    EXPECT_FALSE(run("kill -15 $$\n"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ScriptRunnerTest, FailsForAScriptThatTheShellCannotRead) {
    EXPECT_FALSE(run("if\n"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ScriptRunnerTest, AddsThePermissionOfTheOwnerAndNoOther) {
    const path script = directory.write("Script.run", "exit 0\n");
    for (const auto& [before, after] :
         {std::pair<mode_t, mode_t>{0640, 0740}, {0606, 0706}, {0611, 0711}}) {
        ASSERT_EQ(chmod(script.c_str(), before), 0);
        EXPECT_TRUE(ScriptRunner(directory.path(), scriptAt("Script.run")).done());
        EXPECT_EQ(modeOf("Script.run"), after);
    }
}

TEST_F(ScriptRunnerTest, HasSetThePermissionWhenTheScriptRuns) {
    const path script = directory.write("Script.run", "test -x \"$0\"\n");
    ASSERT_EQ(chmod(script.c_str(), 0600), 0);
    EXPECT_TRUE(ScriptRunner(directory.path(), scriptAt("Script.run")).done());
}

TEST_F(ScriptRunnerTest, LeavesThePermissionsOfAnExecutableScriptAlone) {
    const path script = directory.write("Script.run", "exit 0\n");
    ASSERT_EQ(chmod(script.c_str(), 0715), 0);
    EXPECT_TRUE(ScriptRunner(directory.path(), scriptAt("Script.run")).done());
    EXPECT_EQ(modeOf("Script.run"), 0715U);
}

TEST_F(ScriptRunnerTest, ThrowsWhenThePermissionCannotBeChanged) {
    // A regular file that takes no other permissions, not even from root.
    fs::create_symlink("/proc/self/comm", directory / "Script.run");
    ScriptRunner runner(directory.path(), scriptAt("Script.run"));
    try {
        runner.done();
        FAIL() << "nothing was thrown";
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(error.code(), boost::system::errc::operation_not_permitted);
        EXPECT_EQ(error.path1(), directory / "Script.run");
    }
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(ScriptRunnerTest, FailsForAMissingScript) {
    EXPECT_FALSE(ScriptRunner(directory.path(), scriptAt("Script.run")).done());
    EXPECT_THAT(log.records(),
                ElementsAre(doneError("Script " + (directory / "Script.run").native() +
                                      " is not a regular file")));
}

TEST_F(ScriptRunnerTest, FailsForADirectory) {
    fs::create_directory(directory / "Script.run");
    EXPECT_FALSE(ScriptRunner(directory.path(), scriptAt("Script.run")).done());
    EXPECT_THAT(log.records(),
                ElementsAre(doneError("Script " + (directory / "Script.run").native() +
                                      " is not a regular file")));
}

TEST_F(ScriptRunnerTest, FollowsASymbolicLinkToAScript) {
    directory.write("real", leaveMark());
    fs::create_symlink("real", directory / "Script.run");
    EXPECT_TRUE(ScriptRunner(directory.path(), scriptAt("Script.run")).done());
    EXPECT_TRUE(ran());
}

TEST_F(ScriptRunnerTest, NormalisesNothing) {
    fs::create_directories(directory / "other/sub");
    directory.write("other/Script.run", leaveMark());
    fs::create_directory(directory / "fw");
    fs::create_symlink("../other/sub", directory / "fw/link");
    EXPECT_TRUE(ScriptRunner(directory / "fw", scriptAt("link/./../Script.run")).done());
    EXPECT_TRUE(ran());
}

TEST_F(ScriptRunnerTest, ThrowsWhenTheStateOfTheScriptCannotBeTold) {
    fs::create_symlink("Script.run", directory / "Script.run");
    ScriptRunner runner(directory.path(), scriptAt("Script.run"));
    EXPECT_THROW(runner.done(), fs::filesystem_error);
}

TEST_F(ScriptRunnerTest, PassesOnlyThePartBeforeABlankToTheShell) {
    directory.write("a b/Script.run", leaveMark());
    EXPECT_FALSE(ScriptRunner(directory / "a b", scriptAt("Script.run")).done());
    EXPECT_FALSE(ran());
    EXPECT_THAT(log.records(), IsEmpty());

    // What the shell receives as its script: the part before the blank, with the rest behind it.
    const path out = directory / "out";
    directory.write("a", "printf '%s\\n' \"$#\" \"$1\" > " + out.native() + "\n");
    EXPECT_TRUE(ScriptRunner(directory / "a b", scriptAt("Script.run")).done());
    EXPECT_EQ(readFile(out), "4\nb/Script.run\n");
    EXPECT_FALSE(ran());
}

TEST_F(ScriptRunnerTest, DoesNotSplitAPathAtABlankBetweenDoubleQuotes) {
    EXPECT_TRUE(run(leaveMark(), "a\"b c\"d/Script.run"));
    EXPECT_TRUE(ran());
}

TEST_F(ScriptRunnerTest, LetsNoShellInterpretThePath) {
    EXPECT_TRUE(run(leaveMark(), "$(exit)`exit`;&|'*Script.run"));
    EXPECT_TRUE(ran());
}

}  // namespace
