#include "ProgressDisplay.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

// Back to the first column, and erase what is there.
constexpr char eraseLine[] = "\r\x1b[K";

std::size_t terminalWidth() {
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

// As wide as the terminal leaves room for beside a text, within reason.
std::string bar(unsigned int percent, std::size_t textWidth) {
    // Two brackets, a blank, and the last column, where some terminals wrap.
    const std::size_t taken = textWidth + 4;
    const std::size_t terminal = terminalWidth();
    const std::size_t width = std::clamp<std::size_t>(terminal - std::min(terminal, taken), 10, 50);
    const std::size_t done = width * percent / 100;
    return '[' + std::string(done, '#') + std::string(width - done, '-') + ']';
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
    if (terminal_) {
        // The text is longest at the end; the bar keeps its width.
        std::printf("%s%s %s", eraseLine, bar(shown, text(100).size()).c_str(),
                    text(shown).c_str());
    } else {
        std::printf("%s\n", text(shown).c_str());
    }
    std::fflush(stdout);
}

std::string ProgressDisplay::text(unsigned int percent) const {
    // In this order, the product fits 64 bits.
    const std::uint64_t bytes = totalBytes_ / 100 * percent + totalBytes_ % 100 * percent / 100;
    return std::to_string(percent) + " %, " + formatBytes(bytes) + " of " +
           formatBytes(totalBytes_);
}

void ProgressDisplay::clear() {
    if (terminal_) {
        std::fputs(eraseLine, stdout);
        std::fflush(stdout);
    }
}
