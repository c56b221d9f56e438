// A power cut right after "installed", on a file system that loses what was not flushed.

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstring>

#include "HostFixture.h"
#include "Tracing.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;

// A file system in an image file, on a loop device. The image holds only what has reached the
// device, not what is still in memory. A copy of it is therefore what a power cut leaves.
class HostPowerCut : public HostFixture {
protected:
    void SetUp() override {
        if (::geteuid() != 0) {
            GTEST_SKIP() << "only root can mount";
        }
        // Mounts of our own, gone with this process.
        if (::unshare(CLONE_NEWNS) != 0 ||
            ::mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) != 0) {
            GTEST_SKIP() << "no mounts of our own: " << std::strerror(errno);
        }
        boost::filesystem::create_directory(disk());
        directory.write("empty.img", "");
        boost::filesystem::resize_file(directory / "empty.img", 8 << 20);
        if (run({"mkfs.ext4", "-q", "-F", "-m", "0", (directory / "empty.img").string()}).status !=
            0) {
            GTEST_SKIP() << "no mkfs.ext4";
        }
        const ProcessResult mounted = mountImage("empty.img");
        if (mounted.status != 0) {
            GTEST_SKIP() << "no loop device: " << mounted.err;
        }
        unmount();
    }

    boost::filesystem::path disk() const { return directory / "disk"; }

    // No timer writes anything back.
    ProcessResult mountImage(const std::string& name) const {
        return run(
            {"mount", "-o", "loop,commit=600", (directory / name).string(), disk().string()});
    }

    void unmount() const { EXPECT_EQ(run({"umount", disk().string()}).status, 0); }

    void copy(const std::string& from, const std::string& to) const {
        EXPECT_EQ(
            run({"cp", "--sparse=always", (directory / from).string(), (directory / to).string()})
                .status,
            0);
    }

    static std::string content(int file) {
        return std::string(static_cast<std::size_t>(1 + file * 5000),
                           static_cast<char>('a' + file));
    }

    static constexpr int files = 8;

    boost::filesystem::path package() const {
        PackageBuilder builder;
        for (int i = 0; i < files; ++i) {
            builder.firmware("dir" + std::to_string(i % 3) + "/file" + std::to_string(i),
                             content(i));
        }
        return builder.build(directory);
    }

    // How many files are wrong after a cut at the moment at which `host` has ended.
    int wrongAfterCut(const std::vector<std::string>& host) const {
        copy("empty.img", "running.img");
        EXPECT_EQ(mountImage("running.img").status, 0);
        const ProcessResult result = run(host);
        EXPECT_EQ(result.status, 0) << result.err;
        copy("running.img", "cut.img");
        unmount();
        EXPECT_EQ(mountImage("cut.img").status, 0);
        int wrong = 0;
        for (int i = 0; i < files; ++i) {
            const auto path =
                disk() / ("dir" + std::to_string(i % 3)) / ("file" + std::to_string(i));
            wrong += boost::filesystem::exists(path) && readFile(path) == content(i) ? 0 : 1;
        }
        unmount();
        return wrong;
    }

    std::vector<std::string> installation() const {
        return {FIRMWARE_HOST, keys.certificate.string(), (directory / "package.zip").string(),
                disk().string()};
    }
};

TEST_F(HostPowerCut, AfterInstalledCostsNoFile) {
    package();
    int wrong = 0;
    for (int cut = 0; cut < 20; ++cut) {
        wrong += wrongAfterCut(installation());
    }
    EXPECT_EQ(wrong, 0);
}

// Shows that the cut above really loses data.
TEST_F(HostPowerCut, CostsFilesWhenNothingIsFlushed) {
    if (!canTrace()) {
        GTEST_SKIP() << "no process may be traced here, or there is no strace";
    }
    package();
    const std::vector<std::string> unflushed =
        traced({"-o", "/dev/null", "-e", "inject=syncfs:retval=0"}, installation());
    int wrong = 0;
    for (int cut = 0; cut < 5; ++cut) {
        wrong += wrongAfterCut(unflushed);
    }
    RecordProperty("wrong", wrong);
    EXPECT_GT(wrong, 0);
}

}  // namespace
