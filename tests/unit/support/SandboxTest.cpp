// A sandbox that misses something would let every attack pass that does it.

#include "Sandbox.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sched.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "TemporaryDirectory.h"

namespace Norv::Corvane::Test {
namespace {

struct Deed {
    const char* name;
    // Given a directory with a file `file` in it, which is the working directory.
    void (*work)();
};

std::ostream& operator<<(std::ostream& out, const Deed& deed) {
    return out << deed.name;
}

void endOrWaitFor(long child) {
    if (child == 0) {
        ::_exit(0);
    }
    ::waitpid(static_cast<pid_t>(child), nullptr, 0);
}

void spawn() {
    std::string name = "true";
    char* arguments[] = {name.data(), nullptr};
    pid_t child = 0;
    if (::posix_spawnp(&child, "true", nullptr, nullptr, arguments, nullptr) == 0) {
        endOrWaitFor(child);
    }
}

// The compiler knows vfork and would warn; posix_spawn and system come down to the same call.
void forkAndExecute() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::execl("/bin/true", "true", nullptr);
        ::_exit(1);
    }
    endOrWaitFor(child);
}

void connectToNobody() {
    const int end = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const sockaddr address{AF_UNIX, "nobody"};
    static_cast<void>(::connect(end, &address, sizeof address));
}

const std::vector<Deed>& reachingDeeds() {
    static const std::vector<Deed> deeds = {
        {"System", [] { static_cast<void>(std::system("true")); }},
        {"Popen", [] { ::pclose(::popen("true", "r")); }},
        {"Spawn", spawn},
        {"Fork", [] { endOrWaitFor(::fork()); }},
        {"ForkAndExecute", forkAndExecute},
#ifdef SYS_vfork
        // Neither returns into a frame that the other has left.
        {"Vfork",
         [] {
             if (const long child =
                     ::syscall(SYS_clone, CLONE_VM | CLONE_VFORK | SIGCHLD, 0, 0, 0, 0);
                 child == 0) {
                 ::_exit(0);
             }
         }},
        {"ForkCall", [] { endOrWaitFor(::syscall(SYS_fork)); }},
#endif
#ifdef SYS_clone3
        {"Clone3",
         [] {
             clone_args arguments{};
             arguments.exit_signal = SIGCHLD;
             endOrWaitFor(::syscall(SYS_clone3, &arguments, sizeof arguments));
         }},
#endif
        {"CloneCall", [] { endOrWaitFor(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); }},
        {"Thread", [] { std::thread([] {}).join(); }},
        {"Execute", [] { ::execl("/bin/true", "true", nullptr); }},
        {"ExecuteAt",
         [] {
             const char* const arguments[] = {"true", nullptr};
             ::syscall(SYS_execveat, AT_FDCWD, "/bin/true", arguments, nullptr, 0);
         }},
        {"Socket", connectToNobody},
        {"Unlink", [] { ::unlink("file"); }},
        {"UnlinkAt", [] { ::unlinkat(AT_FDCWD, "file", 0); }},
        {"Remove", [] { std::remove("file"); }},
        {"Rename", [] { std::rename("file", "other"); }},
        {"RenameAt", [] { ::renameat(AT_FDCWD, "file", AT_FDCWD, "other"); }},
        {"RenameAt2", [] { ::renameat2(AT_FDCWD, "file", AT_FDCWD, "other", 0); }},
        {"MakeDirectory", [] { ::mkdir("directory", 0700); }},
        {"MakeDirectoryAt", [] { ::mkdirat(AT_FDCWD, "directory", 0700); }},
        {"RemoveDirectory", [] { ::rmdir("nothing"); }},
        {"Link", [] { static_cast<void>(!::link("file", "other")); }},
        {"LinkAt", [] { static_cast<void>(!::linkat(AT_FDCWD, "file", AT_FDCWD, "other", 0)); }},
        {"SymbolicLink", [] { static_cast<void>(!::symlink("file", "other")); }},
        {"MakeFifo", [] { ::mkfifo("other", 0700); }},
        {"ChangeMode", [] { ::chmod("file", 0777); }},
        {"ChangeOwner", [] { static_cast<void>(!::chown("file", ::getuid(), ::getgid())); }},
        {"Truncate", [] { static_cast<void>(!::truncate("file", 0)); }},
        {"Signal", [] { ::kill(::getpid(), 0); }}};
    return deeds;
}

const std::vector<Deed>& openingDeeds() {
    static const std::vector<Deed> deeds = {
        {"Open", [] { ::open("file", O_RDONLY); }},
        {"OpenNothing", [] { ::open("nothing", O_RDONLY); }},
        {"OpenAt", [] { ::openat(AT_FDCWD, "file", O_RDONLY); }},
        {"OpenStream", [] { std::fclose(std::fopen("file", "r")); }},
        {"Create", [] { ::creat("other", 0600); }},
#ifdef SYS_creat
        {"OpenCall", [] { ::syscall(SYS_open, "file", O_RDONLY, 0); }},
        {"CreateCall", [] { ::syscall(SYS_creat, "other", 0600); }},
#endif
#ifdef SYS_openat2
        {"OpenAt2",
         [] {
             const unsigned long long how[3] = {O_RDONLY, 0, 0};
             ::syscall(SYS_openat2, AT_FDCWD, "file", how, sizeof how);
         }},
#endif
        {"OpenDirectory", [] { ::open(".", O_RDONLY | O_DIRECTORY); }}};
    return deeds;
}

class StaysInside : public testing::TestWithParam<Deed> {
protected:
    static bool inOwnDirectory(const std::function<bool()>& test) {
        const TemporaryDirectory directory;
        directory.write("file", "content");
        char before[4096];
        const bool moved =
            ::getcwd(before, sizeof before) != nullptr && ::chdir(directory.path().c_str()) == 0;
        const bool result = moved && test();
        return ::chdir(before) == 0 && result;
    }
};

using StaysInsideReaching = StaysInside;
using StaysInsideOpening = StaysInside;

TEST_P(StaysInsideReaching, IsFalse) {
    if (!seesReaching()) {
        GTEST_SKIP() << "not to be seen here";
    }
    EXPECT_TRUE(inOwnDirectory([] { return !staysInside(GetParam().work); }));
}

TEST_P(StaysInsideOpening, IsFalse) {
    if (!seesOpening()) {
        GTEST_SKIP() << "not to be seen here";
    }
    EXPECT_TRUE(inOwnDirectory([] { return !staysInside(GetParam().work); }));
}

std::string nameOfDeed(const testing::TestParamInfo<Deed>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(For, StaysInsideReaching, testing::ValuesIn(reachingDeeds()), nameOfDeed);
INSTANTIATE_TEST_SUITE_P(For, StaysInsideOpening, testing::ValuesIn(openingDeeds()), nameOfDeed);

TEST(StaysInsideHarmless, IsTrueForWorkOnMemory) {
    EXPECT_TRUE(staysInside([] {}));
    EXPECT_TRUE(staysInside([] {
        std::vector<std::string> texts(1000, std::string(10000, 'x'));
        if (texts.back().find('y') != std::string::npos) {
            throw 1;
        }
    }));
}

TEST(StaysInsideHarmless, IsTrueForFilesThatAreOpen) {
    const TemporaryDirectory directory;
    const int file = ::open(directory.write("file", "content").c_str(), O_RDWR);
    ASSERT_GE(file, 0);
    EXPECT_TRUE(staysInside([=] {
        char byte = 0;
        if (::read(file, &byte, 1) != 1 || byte != 'c' || ::write(file, &byte, 1) != 1) {
            throw 1;
        }
    }));
    ::close(file);
}

TEST(StaysInsideHarmless, IsFalseForWorkThatThrowsOrEnds) {
    EXPECT_FALSE(staysInside([] { throw 1; }));
    EXPECT_FALSE(staysInside([] { ::_exit(1); }));
    EXPECT_FALSE(staysInside([] { ::raise(SIGTERM); }));
}

}  // namespace
}  // namespace Norv::Corvane::Test
