#include "ProgressDisplay.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

// Back to the first column, and erase what is there.
constexpr char eraseLine[] = "\r\x1b[K";

unsigned int terminalWidth() {
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

// As wide as the terminal leaves room for beside `text`, within reason.
std::string bar(unsigned int percent, const std::string& text) {
    const std::size_t room = terminalWidth();
    const std::size_t width = room > text.size() + 14 ? room - text.size() - 4 : 10;
    const std::size_t done = std::min<std::size_t>(width, 50) * percent / 100;
    return '[' + std::string(done, '#') +
           std::string(std::min<std::size_t>(width, 50) - done, '-') + ']';
}

}  // namespace

std::string formatBytes(std::uint64_t bytes) {
    constexpr std::array<const char*, 4> units = {"B", "KiB", "MiB", "GiB"};
    std::size_t unit = 0;
    double value = static_cast<double>(bytes);
    for (; value >= 1024 && unit + 1 < units.size(); ++unit) {
        value /= 1024;
    }
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text.data();
}

ProgressDisplay::ProgressDisplay(std::uint64_t totalBytes)
    : totalBytes_(totalBytes), terminal_(::isatty(STDOUT_FILENO) == 1) {}

void ProgressDisplay::show(unsigned int percent) {
    const unsigned int shown = std::min(percent, 100U);
    const std::string text =
        std::to_string(shown) + " %, " +
        formatBytes(totalBytes_ / 100 * shown + totalBytes_ % 100 * shown / 100) + " of " +
        formatBytes(totalBytes_);
    if (terminal_) {
        std::printf("%s%s %s", eraseLine, bar(shown, text).c_str(), text.c_str());
    } else {
        std::printf("%s\n", text.c_str());
    }
    std::fflush(stdout);
}

void ProgressDisplay::clear() {
    if (terminal_) {
        std::fputs(eraseLine, stdout);
        std::fflush(stdout);
    }
}
