// The progress of an installation on standard output.

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Console.h"

// On a terminal, a bar that is redrawn in place; anywhere else, a line for each update.
class ProgressDisplay {
public:
    // `totalBytes` is what 100 percent stands for. The console must outlive the display.
    ProgressDisplay(const Console& console, std::uint64_t totalBytes);

    // More than 100 percent counts as 100.
    void show(unsigned int percent);

    // Shows 100 percent unless that was shown last. The installer counts in KiB, so it reports no
    // more than 0 percent for a package that is shorter.
    void complete();

    // Draws the bar again, as wide as the terminal is by now, if there is one.
    void redraw() const;

    // Removes the bar until `redraw` or `show`, so that other text can be printed.
    void clear() const;

private:
    std::string text(unsigned int percent) const;
    std::string line(unsigned int percent) const;

    const Console& console_;
    std::uint64_t totalBytes_;
    std::optional<unsigned int> shown_;
};

// For example "512 B", "1.5 KiB", "7.9 MiB".
std::string formatBytes(std::uint64_t bytes);

// That many percent of the bytes.
std::uint64_t shareOf(std::uint64_t bytes, unsigned int percent);

// Moves to the first column of a terminal and erases the line.
constexpr char eraseLine[] = "\r\x1b[K";
