// A failure that no verdict can express ends the process, and never looks like success.

#include <gtest/gtest.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>

#include "Installation.h"
#include "Norv/Corvane/Common/Installer.h"
#include "Process.h"
#include "TemporaryDirectory.h"

namespace {

using namespace Norv::Corvane::Common;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;

namespace fs = boost::filesystem;

// A verdict would end the process in another way than the test expects.
void noVerdict(bool succeeded) {
    std::fprintf(stderr, "verdict %d\n", succeeded ? 1 : 0);
    std::_Exit(1);
}

void install(const path& target, const PackageBuilder& package,
             std::function<void(unsigned int)> onProgress, std::function<void(bool)> onCompletion) {
    Installer installer(target);
    installer.Install(unsignedPackage(package), std::move(onProgress), std::move(onCompletion));
}

class InstallerDeathTest : public testing::Test {
protected:
    // A death test runs the test again in a child process, which cannot clean up, so it works in
    // its parent's directory.
    void SetUp() override {
        GTEST_FLAG_SET(death_test_style, deathTestStyle());
        constexpr const char* variable = "CORVANE_DEATH_TEST_DIRECTORY";
        if (const char* const inherited = std::getenv(variable)) {
            target = inherited;
            return;
        }
        directory = std::make_unique<TemporaryDirectory>();
        target = directory->path();
        ASSERT_EQ(setenv(variable, target.c_str(), 1), 0);
    }

    void TearDown() override {
        if (directory) {
            unsetenv("CORVANE_DEATH_TEST_DIRECTORY");
        }
    }

    std::unique_ptr<TemporaryDirectory> directory;
    path target;
};

TEST_F(InstallerDeathTest, SecondInstallEndsTheProcessAfterTheFirstHasEnded) {
    EXPECT_EXIT(
        {
            std::promise<void> ended;
            Installer installer(target);
            installer.Install(unsignedPackage(PackageBuilder()), nullptr,
                              [&](bool) { ended.set_value_at_thread_exit(); });
            ended.get_future().wait();
            // Held back, so that it cannot have any effect of its own.
            installer.Install(unsignedPackage(PackageBuilder()), nullptr,
                              [](bool) { std::promise<void>().get_future().wait(); });
        },
        testing::KilledBySignal(SIGABRT), "terminate called without an active exception");
}

TEST_F(InstallerDeathTest, SecondInstallEndsTheProcessWhileTheFirstRuns) {
    EXPECT_EXIT(
        {
            std::promise<void> never;
            const auto wait = [&](bool) { never.get_future().wait(); };
            Installer installer(target);
            installer.Install(unsignedPackage(PackageBuilder()), nullptr, wait);
            installer.Install(unsignedPackage(PackageBuilder()), nullptr,
                              [](bool) { std::promise<void>().get_future().wait(); });
        },
        testing::KilledBySignal(SIGABRT), "terminate called without an active exception");
}

TEST_F(InstallerDeathTest, EntryMissingInTheArchiveEndsTheProcess) {
    EXPECT_EXIT(
        install(
            target,
            PackageBuilder().firmware("first", "1").firmware("missing", "2").omit("missing"),
            [](unsigned int) {}, noVerdict),
        testing::KilledBySignal(SIGABRT), "std::runtime_error.*\n.*No such file");
    EXPECT_EQ(readFile(target / "first"), "1") << "no rollback";
    EXPECT_EQ(readFile(target / "missing"), "") << "the file is opened before the entry is";
}

TEST_F(InstallerDeathTest, EmptyCompletionCallbackEndsTheProcess) {
    EXPECT_EXIT(install(target, PackageBuilder().firmware("app", "data"), [](unsigned int) {}, {}),
                testing::KilledBySignal(SIGABRT), "std::bad_function_call");
    EXPECT_EQ(readFile(target / "app"), "data");
}

TEST_F(InstallerDeathTest, EmptyCompletionCallbackEndsTheProcessOnFailureToo) {
    EXPECT_EXIT(install(target, PackageBuilder().firmware("app", "data").flipBit("app"),
                        [](unsigned int) {}, {}),
                testing::KilledBySignal(SIGABRT), "std::bad_function_call");
}

TEST_F(InstallerDeathTest, EmptyProgressCallbackEndsTheProcessWhenAReportIsDue) {
    EXPECT_EXIT(
        install(target, PackageBuilder().firmware("app", std::string(2048, 'x')), {}, noVerdict),
        testing::KilledBySignal(SIGABRT), "std::bad_function_call");
}

TEST_F(InstallerDeathTest, ThrowingCallbackEndsTheProcess) {
    EXPECT_EXIT(install(
                    target, PackageBuilder().firmware("app", std::string(2048, 'x')),
                    [](unsigned int) { throw std::logic_error("from the host"); }, noVerdict),
                testing::KilledBySignal(SIGABRT), "std::logic_error.*\n.*from the host");
}

TEST_F(InstallerDeathTest, DirectoryWhoseStateCannotBeToldEndsTheProcess) {
    boost::system::error_code exists;
    fs::create_symlink("loop", target / "loop", exists);
    EXPECT_EXIT(
        install(
            target, PackageBuilder().firmware("loop/app", "data"), [](unsigned int) {}, noVerdict),
        testing::KilledBySignal(SIGABRT), "filesystem_error");
}

TEST_F(InstallerDeathTest, ScriptWhosePermissionsCannotBeChangedEndsTheProcess) {
    // A regular file that can be written and takes no other permissions, not even from root.
    boost::system::error_code exists;
    fs::create_symlink("/proc/self/comm", target / "Script.run", exists);
    EXPECT_EXIT(install(
                    target, PackageBuilder().script("Script.run", "exit 0\n"), [](unsigned int) {},
                    noVerdict),
                testing::KilledBySignal(SIGABRT), "filesystem_error.*\n.*Operation not permitted");
}

}  // namespace
