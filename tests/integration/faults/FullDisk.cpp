// Disks that are full or read-only, and targets that disappear.

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "Installation.h"

namespace Norv::Corvane::Test {
namespace {

namespace fs = boost::filesystem;
using Common::FileKind;
using testing::ElementsAre;

bool writeTo(const char* path, const std::string& text) {
    return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

// Gives this process mounts of its own; an ordinary user gets root's rights over them.
bool moveApart() {
    if (geteuid() == 0) {
        return unshare(CLONE_NEWNS) == 0;
    }
    // A user who is not mapped could not create a file there.
    const std::string user = fmt::format("0 {} 1", geteuid());
    const std::string group = fmt::format("0 {} 1", getegid());
    return unshare(CLONE_NEWNS | CLONE_NEWUSER) == 0 && writeTo("/proc/self/setgroups", "deny") &&
           writeTo("/proc/self/uid_map", user) && writeTo("/proc/self/gid_map", group);
}

// The target is a small file system of its own, which the rest of the machine does not see.
class FullDisk : public FaultTest {
protected:
    void SetUp() override {
        if (!moveApart() || mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0) {
            GTEST_SKIP() << "no mounts of our own: " << std::strerror(errno);
        }
        fs::create_directory(target());
        ASSERT_EQ(mount("tmpfs", target().c_str(), "tmpfs", 0, "size=256k,nr_inodes=8"), 0)
            << std::strerror(errno);
    }

    void TearDown() override { umount2(target().c_str(), MNT_DETACH); }

    void makeReadOnly() {
        ASSERT_EQ(mount("none", target().c_str(), "none", MS_REMOUNT | MS_RDONLY, nullptr), 0);
    }

    void fillWithBytes() {
        std::ofstream stream((target() / "filler").native(), std::ios::binary);
        const std::string page(4096, 'x');
        while (stream.write(page.data(), static_cast<std::streamsize>(page.size())).flush()) {
        }
    }

    void fillWithFiles() {
        for (int i = 0; std::ofstream((target() / fmt::format("filler{}", i)).native()); ++i) {
        }
    }
};

TEST_F(FullDisk, DataThatDoesNotFitIsAFailure) {
    const LogCapture log;
    EXPECT_THAT(installAll({{"data", noise(600000)}, {"later", "x"}}), ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("data")));
    EXPECT_LE(fs::file_size(target() / "data"), 256U << 10);
    EXPECT_FALSE(fs::exists(target() / "later"));
}

TEST_F(FullDisk, WholeChunksThatDoNotFitAreAFailure) {
    // No short chunk asks for a flush: what the last bytes meet shows only when the file is closed.
    EXPECT_THAT(installAll({{"data", noise(262144)}, {"more", noise(262144)}}), ElementsAre(false));
}

TEST_F(FullDisk, SmallFileThatDoesNotFitIsAFailure) {
    // All of it fits into the stream's buffer, none of it on the disk.
    fillWithBytes();
    const LogCapture log;
    EXPECT_THAT(installAll({{"data", "a few bytes"}}), ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("data")));
    EXPECT_EQ(fs::file_size(target() / "data"), 0U);
}

TEST_F(FullDisk, EmptyFileFits) {
    fillWithBytes();
    EXPECT_THAT(installAll({{"empty", ""}}), ElementsAre(true));
}

TEST_F(FullDisk, ScriptThatDoesNotFitIsNotRun) {
    fillWithBytes();
    const fs::path effect = directory / "effect";
    const LogCapture log;
    EXPECT_THAT(installAll({{"Script.run", "echo > " + effect.native(), FileKind::Script}}),
                ElementsAre(false));
    EXPECT_THAT(log.records(), ElementsAre(failedOn("Script.run")));
    EXPECT_FALSE(fs::exists(effect));
}

TEST_F(FullDisk, ScriptDecidesWhatItsOwnFailedWriteMeans) {
    const std::string fill = "cat /dev/zero > \"${0%/*}/filler\" 2> /dev/null\n";
    EXPECT_THAT(installAll({{"Script.run", "set -e\n" + fill, FileKind::Script}}),
                ElementsAre(false));
    fs::remove(target() / "filler");
    EXPECT_THAT(installAll({{"Script.run", fill + "exit 0\n", FileKind::Script}}),
                ElementsAre(true));
}

TEST_F(FullDisk, DirectoryThatCannotBeMadeIsAFailure) {
    fillWithFiles();
    const LogCapture log;
    EXPECT_THAT(installAll({{"etc/data", "x"}}), ElementsAre(false));
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err,
                                      "Failed to create directory " + (target() / "etc").native() +
                                          " (No space left on device)",
                                      "FileWriter"},
                            failedOn("etc/data")));
}

TEST_F(FullDisk, FileThatCannotBeCreatedIsAFailure) {
    fillWithFiles();
    const LogCapture log;
    EXPECT_THAT(installAll({{"data", "x"}}), ElementsAre(false));
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err,
                                      "Failde to open file " + target().native(), "FileWriter"},
                            failedOn("data")));
}

TEST_F(FullDisk, ReadOnlyTargetIsAFailure) {
    makeReadOnly();
    const LogCapture log;
    EXPECT_THAT(installAll({{"data", "x"}}), ElementsAre(false));
    EXPECT_THAT(installAll({{"etc/data", "x"}}), ElementsAre(false));
    EXPECT_THAT(log.records(),
                ElementsAre(LogRecord{spdlog::level::err,
                                      "Failde to open file " + target().native(), "FileWriter"},
                            failedOn("data"),
                            LogRecord{spdlog::level::err,
                                      "Failed to create directory " + (target() / "etc").native() +
                                          " (Read-only file system)",
                                      "FileWriter"},
                            failedOn("etc/data")));
}

TEST_F(FullDisk, TargetThatTurnsReadOnlyDuringTheInstallationIsAFailure) {
    const std::vector<Payload> files{{"first", std::string(2048, 'a')}, {"second", "b"}};
    writePackage(package(), files);
    EXPECT_THAT(
        install(validated(package(), files), target(), [this](unsigned int) { makeReadOnly(); }),
        ElementsAre(false));
    EXPECT_EQ(readFile(target() / "first"), files[0].content);
}

using RemovedTarget = FaultTest;

// Later files find no directory and create it again. What was installed before is gone: the verdict
// says what the installer did, not what others did afterwards.
TEST_F(RemovedTarget, IsMadeAnewForTheFilesThatFollow) {
    const std::vector<Payload> files{{"bin/first", std::string(2048, 'a')}, {"bin/second", "b"}};
    writePackage(package(), files);
    EXPECT_THAT(install(validated(package(), files), target(),
                        [this](unsigned int) { fs::remove_all(target()); }),
                ElementsAre(true));
    EXPECT_FALSE(fs::exists(target() / "bin/first"));
    EXPECT_EQ(readFile(target() / "bin/second"), "b");
}

TEST_F(RemovedTarget, ByAScriptDoesNotHurtTheFilesThatFollow) {
    EXPECT_THAT(
        installAll({{"Script.run", "rm -r \"${0%/*}\"\n", FileKind::Script}, {"data", "b"}}),
        ElementsAre(true));
    EXPECT_EQ(readFile(target() / "data"), "b");
}

TEST_F(RemovedTarget, ReplacedByAFileIsAFailure) {
    const std::vector<Payload> files{{"first", std::string(2048, 'a')}, {"second", "b"}};
    writePackage(package(), files);
    EXPECT_THAT(install(validated(package(), files), target(),
                        [this](unsigned int) {
                            fs::remove_all(target());
                            replaceContent(target(), "in the way");
                        }),
                ElementsAre(false));
    EXPECT_EQ(readFile(target()), "in the way");
}

}  // namespace
}  // namespace Norv::Corvane::Test
