#include "Progress.h"

#include <gmock/gmock.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <thread>

#include "Process.h"

namespace {

using namespace Norv::Corvane::Pack;
using testing::HasSubstr;
using testing::Not;

void waitUntilItIsLong() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1050));
}

TEST(PackProgress, IsSilentForWorkOfLessThanASecond) {
    testing::internal::CaptureStderr();
    const auto start = std::chrono::steady_clock::now();
    ProgressDisplay display;
    display.show("hashing", 1, 2);
    const auto end = std::chrono::steady_clock::now();
    const std::string text = testing::internal::GetCapturedStderr();
    if (end - start < std::chrono::seconds(1)) {
        EXPECT_EQ(text, "");
    }
}

TEST(PackProgress, PrintsALineForEachTenthAndEachStepWhereThereIsNoTerminal) {
    testing::internal::CaptureStderr();
    ProgressDisplay display;
    waitUntilItIsLong();
    for (const std::uint64_t done : {0U, 5U, 10U, 11U, 19U, 20U, 100U}) {
        display.show("hashing", done, 100);
    }
    display.show("packing", 0, 1000);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "firmware-pack: hashing: 0 %\n"
              "firmware-pack: hashing: 10 %\n"
              "firmware-pack: hashing: 20 %\n"
              "firmware-pack: hashing: 100 %\n"
              "firmware-pack: packing: 0 %\n");
}

// Not under qemu; and valgrind complains of how they are made.
bool hasTerminals() {
    if (!Norv::Corvane::Test::emulator().empty()) {
        return false;
    }
    int ours = -1;
    int theirs = -1;
    const bool made = ::openpty(&ours, &theirs, nullptr, nullptr, nullptr) == 0;
    if (made) {
        ::close(ours);
        ::close(theirs);
    }
    return made;
}

// What appears on a terminal of this width after a second of work, up to the end of the display.
std::string onTerminal(unsigned short columns) {
    int ours = -1;
    int theirs = -1;
    const winsize size = {24, columns, 0, 0};
    EXPECT_EQ(::openpty(&ours, &theirs, nullptr, nullptr, &size), 0);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(theirs, STDERR_FILENO);
    {
        ProgressDisplay display;
        waitUntilItIsLong();
        display.show("verifying", 25, 50);
    }
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    ::close(theirs);
    std::string text;
    std::array<char, 1024> chunk{};
    for (ssize_t count = 0; (count = ::read(ours, chunk.data(), chunk.size())) > 0;) {
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    ::close(ours);
    return text;
}

TEST(PackProgress, DrawsABarOnATerminalAndTakesItAway) {
    if (!hasTerminals()) {
        GTEST_SKIP() << "there are no pseudo terminals";
    }
    EXPECT_EQ(onTerminal(40), "\r\x1b[Kverifying [##########           ] 50 %\r\x1b[K");
}

TEST(PackProgress, FitsNarrowTerminals) {
    if (!hasTerminals()) {
        GTEST_SKIP() << "there are no pseudo terminals";
    }
    EXPECT_EQ(onTerminal(20), "\r\x1b[Kverifying 50 %\r\x1b[K");
    EXPECT_EQ(onTerminal(8), "\r\x1b[Kverifyi\r\x1b[K");
}

}  // namespace
