#include "ProgressDisplay.h"

#include <algorithm>
#include <array>
#include <cstdio>

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

std::uint64_t shareOf(std::uint64_t bytes, unsigned int percent) {
    // In this order, the product fits 64 bits.
    return bytes / 100 * percent + bytes % 100 * percent / 100;
}

ProgressDisplay::ProgressDisplay(const Console& console, std::uint64_t totalBytes)
    : console_(console), totalBytes_(totalBytes) {}

void ProgressDisplay::show(unsigned int percent) {
    shown_ = std::min(percent, 100U);
    if (console_.outIsTerminal()) {
        redraw();
    } else {
        console_.out(text(*shown_) + '\n');
    }
}

void ProgressDisplay::complete() {
    if (shown_ != 100U) {
        show(100);
    }
}

void ProgressDisplay::redraw() const {
    if (console_.outIsTerminal() && shown_) {
        console_.out(eraseLine + line(*shown_));
    }
}

void ProgressDisplay::clear() const {
    if (console_.outIsTerminal() && shown_) {
        console_.out(eraseLine);
    }
}

std::string ProgressDisplay::text(unsigned int percent) const {
    return std::to_string(percent) + " %, " + formatBytes(shareOf(totalBytes_, percent)) + " of " +
           formatBytes(totalBytes_);
}

// Leaves the last column free, where some terminals wrap. On a narrow one the bar goes first, then
// the bytes.
std::string ProgressDisplay::line(unsigned int percent) const {
    constexpr std::size_t shortestBar = 10;
    constexpr std::size_t longestBar = 50;
    const std::size_t room = console_.columns() - 1;
    const std::string words = text(percent);
    // The text is longest at the end, except when units change, so the line keeps its form.
    const std::size_t taken = std::max(words.size(), text(100).size());
    if (room >= taken + 3 + shortestBar) {
        const std::size_t width = std::min(room - taken - 3, longestBar);
        const std::size_t done = width * percent / 100;
        return '[' + std::string(done, '#') + std::string(width - done, '-') + "] " + words;
    }
    return taken <= room ? words : (std::to_string(percent) + " %").substr(0, room);
}
