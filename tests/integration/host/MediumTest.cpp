// firmware-host says "installed" only when the data is on the medium.

#include <sys/stat.h>

#include <boost/filesystem/operations.hpp>

#include "HostFixture.h"
#include "Tracing.h"

namespace {

using namespace Norv::Corvane;
using namespace Norv::Corvane::Test;
using testing::HasSubstr;
using testing::Not;

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) {
        ++found;
    }
    return found;
}

class HostMedium : public HostFixture {
protected:
    void SetUp() override {
        if (!canTrace()) {
            GTEST_SKIP() << "no process may be traced here, or there is no strace";
        }
    }

    // What the calls of one run look like.
    std::string trace(const boost::filesystem::path& package,
                      const std::vector<std::string>& options = {}) const {
        const std::string file = (directory / "trace").string();
        run(traced({"-y", "-o", file, "-e", "trace=syncfs,write", "-s", "200"},
                   command(package, options)));
        return readFile(file);
    }
};

TEST_F(HostMedium, IsFlushedOnceBeforeTheInstallationIsSaidToBeComplete) {
    const auto package = PackageBuilder().firmware("a", "a").firmware("b/c", "c").build(directory);
    const std::string calls = trace(package);
    EXPECT_EQ(count(calls, "syncfs("), 1) << calls;
    EXPECT_LT(calls.find("syncfs("), calls.find("\"installed 2 files")) << calls;
    EXPECT_THAT(calls, HasSubstr("\"installed 2 files"));
}

TEST_F(HostMedium, IsFlushedForEveryFileSystemThatWasWrittenTo) {
    const boost::filesystem::path other = "/dev/shm" / boost::filesystem::unique_path();
    struct stat here {};
    struct stat there {};
    ASSERT_EQ(::stat(target.path().c_str(), &here), 0);
    if (::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev ||
        ::mkdir(other.c_str(), 0700) != 0) {
        GTEST_SKIP() << "/dev/shm is not another file system";
    }
    boost::filesystem::create_symlink(other, target / "other");
    const auto package =
        PackageBuilder().firmware("a", "a").firmware("other/b", "b").build(directory);
    const std::string calls = trace(package);
    boost::filesystem::remove_all(other);
    EXPECT_EQ(count(calls, "syncfs("), 2) << calls;
    EXPECT_THAT(calls, HasSubstr("<" + (other / "b").string() + ">)"));
}

TEST_F(HostMedium, IsFlushedAlthoughAScriptMovedItsFile) {
    const auto package = PackageBuilder()
                             .firmware("new/app", "a")
                             .script("Script.run", "cd \"${0%/*}\"; mv new current; rm \"$0\"\n")
                             .build(directory);
    EXPECT_THAT(trace(package), HasSubstr("\"installed 2 files"));
}

TEST_F(HostMedium, IsNotFlushedWhenNothingIsInstalled) {
    const auto package = PackageBuilder().firmware("a", "a").build(directory);
    EXPECT_THAT(trace(package, {"--dry-run"}), Not(HasSubstr("syncfs")));
    EXPECT_THAT(trace(package, {"--model", "WOLMZB04"}), Not(HasSubstr("syncfs")));
}

TEST_F(HostMedium, ThatCannotBeFlushedFailsTheInstallation) {
    const auto package = PackageBuilder().firmware("a", "a").build(directory);
    const std::vector<std::string> failing = {"-o", "/dev/null", "-e", "inject=syncfs:error=EIO"};
    const ProcessResult result = run(traced(failing, command(package)));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              "firmware-host: installation failed: everything was written, but cannot be flushed "
              "to the medium (" +
                  (target / "a").string() + ": Input/output error)\n");
    EXPECT_THAT(result.out, Not(HasSubstr("installed")));
    EXPECT_THAT(run(traced(failing, command(package, {"--json"}))).out,
                HasSubstr(R"("result":"failed","exitStatus":1)"));
}

}  // namespace
