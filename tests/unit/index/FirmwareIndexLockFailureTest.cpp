// An index whose lock cannot be taken, or cannot be released.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <boost/interprocess/exceptions.hpp>
#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <functional>

#include "Norv/Corvane/Common/FirmwareIndex.h"
#include "TemporaryDirectory.h"

namespace {

// Which of the next calls that lock or unlock a file fails; the first one is 1, none is 0.
unsigned failingCall = 0;

}  // namespace

// In place of the C library's, for this program and the libraries that it uses.
extern "C" int fcntl64(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if ((command == F_SETLK || command == F_SETLKW) && failingCall > 0 && --failingCall == 0) {
        errno = ENOLCK;
        return -1;
    }
#ifdef SYS_fcntl64
    return static_cast<int>(syscall(SYS_fcntl64, descriptor, command, argument));
#else
    return static_cast<int>(syscall(SYS_fcntl, descriptor, command, argument));
#endif
}

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

class FirmwareIndexLockFailure : public testing::Test {
protected:
    void TearDown() override { failingCall = 0; }

    // The system's error in what `action` throws; 0 if it throws nothing.
    static int systemErrorOf(const std::function<void()>& action) {
        try {
            action();
        } catch (const boost::interprocess::interprocess_exception& error) {
            return error.get_native_error();
        }
        return 0;
    }

    std::string content() const { return Corvane::Test::readFile(directory_ / "index.json"); }

    const Corvane::Test::TemporaryDirectory directory_;
    const std::filesystem::path path_ = directory_.write("index.json", "[ ]").string();
};

TEST_F(FirmwareIndexLockFailure, ToTakeItIsThrownByALoad) {
    failingCall = 1;
    EXPECT_EQ(systemErrorOf([&] { Load(path_); }), ENOLCK);
    EXPECT_EQ(Load(path_), Firmwares{});
}

TEST_F(FirmwareIndexLockFailure, ToReleaseItIsThrownByALoad) {
    failingCall = 2;
    EXPECT_EQ(systemErrorOf([&] { Load(path_); }), ENOLCK);
    EXPECT_EQ(Load(path_), Firmwares{});
}

TEST_F(FirmwareIndexLockFailure, ToTakeItIsThrownByASaveThatHasEmptiedTheFile) {
    failingCall = 1;
    EXPECT_EQ(systemErrorOf([&] { Save(path_, {}); }), ENOLCK);
    EXPECT_EQ(content(), "");
}

TEST_F(FirmwareIndexLockFailure, ToReleaseItIsThrownByASaveThatHasWritten) {
    failingCall = 2;
    EXPECT_EQ(systemErrorOf([&] { Save(path_, {}); }), ENOLCK);
    EXPECT_EQ(content(), "[]");
}

}  // namespace
}  // namespace Norv::Corvane::Common::FirmwareIndex
