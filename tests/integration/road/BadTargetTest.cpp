// Sound packages on systems that are not: the target is full, cannot be written, or its script
// fails.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <string>
#include <system_error>

#include "Road.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using boost::filesystem::path;
using testing::ElementsAre;
using testing::IsEmpty;

namespace fs = boost::filesystem;

// A file system of its own, below a directory, that only this process sees. Not mounted: the
// process may not do that.
class PrivateFileSystem {
public:
    PrivateFileSystem(path place, const char* options) : place_(std::move(place)) {
        mounted_ = unshare(CLONE_NEWNS) == 0 &&
                   mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("tmpfs", place_.c_str(), "tmpfs", 0, options) == 0;
    }
    ~PrivateFileSystem() {
        if (mounted_) {
            umount2(place_.c_str(), MNT_DETACH);
        }
    }
    PrivateFileSystem(const PrivateFileSystem&) = delete;
    PrivateFileSystem& operator=(const PrivateFileSystem&) = delete;

    bool mounted() const { return mounted_; }
    bool makeReadOnly() {
        return mount("none", place_.c_str(), "none", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
    }

private:
    path place_;
    bool mounted_ = false;
};

std::string textOf(std::errc error) {
    return std::make_error_code(error).message();
}

class BadTarget : public Road {
protected:
    static LogRecord fileWriter(std::string message) {
        return {spdlog::level::err, std::move(message), "FileWriter"};
    }

    void expectFailure(const PackageBuilder& package) {
        const auto report = travel(package);
        ASSERT_TRUE(report);
        EXPECT_THAT(report->verdicts, ElementsAre(false));
        EXPECT_THAT(report->progress, IsEmpty());
    }
};

TEST_F(BadTarget, ThatIsFullFailsTheFileThatDoesNotFit) {
    const PrivateFileSystem disk(target.path(), "size=1m");
    if (!disk.mounted()) {
        GTEST_SKIP() << "mounting a file system of 1 MiB needs CAP_SYS_ADMIN";
    }
    const auto report = travel(PackageBuilder()
                                   .firmware("small", noise(64 * 1024))
                                   .firmware("large", noise(2 * 1024 * 1024))
                                   .firmware("later", "x"));
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(report->progress, ElementsAre(3));
    EXPECT_THAT(target.files(), ElementsAre("large", "small")) << "what was written stays";
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("large")));
}

TEST_F(BadTarget, ThatIsFullByTheLastByteFails) {
    const PrivateFileSystem disk(target.path(), "size=64k");
    if (!disk.mounted()) {
        GTEST_SKIP() << "mounting a file system of 64 KiB needs CAP_SYS_ADMIN";
    }
    expectFailure(PackageBuilder().firmware("app", noise(64 * 1024 + 1)));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("app")));
}

TEST_F(BadTarget, ThatHasNoRoomForADirectoryFails) {
    // One inode: the root of the file system has it.
    const PrivateFileSystem disk(target.path(), "nr_inodes=1");
    if (!disk.mounted()) {
        GTEST_SKIP() << "mounting a file system without room for a file needs CAP_SYS_ADMIN";
    }
    expectFailure(PackageBuilder().firmware("bin/app", "data"));
    EXPECT_THAT(log.records(),
                ElementsAre(fileWriter("Failed to create directory " + (target / "bin").native() +
                                       " (" + textOf(std::errc::no_space_on_device) + ")"),
                            failedToProcess("bin/app")));
}

// A device that accepts no byte stands for a full disk where nothing can be mounted.
TEST_F(BadTarget, ThatTakesNoByteFails) {
    fs::create_symlink("/dev/full", target / "app");
    expectFailure(PackageBuilder().firmware("app", noise(300000)));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("app")));
}

TEST_F(BadTarget, ThatCannotBeWrittenFails) {
    // Root may write where the permissions say that nobody may, but not to a read-only disk.
    PrivateFileSystem disk(target.path(), "size=64k");
    if (disk.mounted()) {
        ASSERT_TRUE(disk.makeReadOnly());
    } else if (geteuid() == 0) {
        GTEST_SKIP() << "root without CAP_SYS_ADMIN finds no directory that it may not write";
    } else {
        fs::permissions(target.path(), fs::owner_read | fs::owner_exe);
    }
    expectFailure(PackageBuilder().firmware("app", "data"));
    EXPECT_THAT(log.records(),
                ElementsAre(fileWriter("Failde to open file " + target.path().native()),
                            failedToProcess("app")));
    EXPECT_THAT(target.files(), IsEmpty());
}

TEST_F(BadTarget, ThatCannotTakeADirectoryFails) {
    // Nobody can create anything there.
    const path nowhere = "/proc/self/corvane/bin";
    const auto report = travel(PackageBuilder().firmware("app", "data").build(directory), nowhere);
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(log.records(),
                ElementsAre(fileWriter("Failed to create directory /proc/self/corvane/bin (" +
                                       textOf(std::errc::no_such_file_or_directory) + ")"),
                            failedToProcess("app")));
}

TEST_F(BadTarget, WhoseScriptFailsFails) {
    expectFailure(PackageBuilder()
                      .script("Script.run", "exit 3\n" + std::string(2048, '\n'))
                      .firmware("later", "x"));
    EXPECT_THAT(target.files(), ElementsAre("Script.run"));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("Script.run")));
}

TEST_F(BadTarget, WhoseScriptIsKilledFails) {
    expectFailure(PackageBuilder().script("Script.run", "kill -9 $$\n").firmware("later", "x"));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("Script.run")));
}

TEST_F(BadTarget, WhoseScriptIsADirectoryAlreadyFails) {
    fs::create_directory(target / "Script.run");
    expectFailure(PackageBuilder().script("Script.run", "exit 0\n"));
    EXPECT_THAT(log.records(),
                ElementsAre(fileWriter("Failde to open file " + target.path().native()),
                            failedToProcess("Script.run")));
}

TEST_F(BadTarget, WithABlankInItsPathCannotRunScripts) {
    const path blank = target / "with blank";
    const auto report =
        travel(PackageBuilder()
                   .script("Script.run", "touch " + (target / "mark").native() + "\n")
                   .build(directory),
               blank);
    ASSERT_TRUE(report);
    EXPECT_THAT(report->verdicts, ElementsAre(false));
    EXPECT_THAT(target.files(), ElementsAre("with blank/Script.run"));
    EXPECT_THAT(log.records(), ElementsAre(failedToProcess("Script.run")));
}

}  // namespace
