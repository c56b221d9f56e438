// The progress of an installation on standard output.

#pragma once

#include <cstdint>
#include <string>

// A bar that is drawn over itself on a terminal, lines of their own anywhere else.
class ProgressDisplay {
public:
    // `totalBytes` is what 100 percent stands for.
    explicit ProgressDisplay(std::uint64_t totalBytes);

    // More than 100 percent counts as 100.
    void show(unsigned int percent);

    // Takes the bar away, so that other text can be printed. Nothing to do without a terminal.
    void clear();

private:
    std::string text(unsigned int percent) const;

    std::uint64_t totalBytes_;
    bool terminal_;
};

// For example "512 B", "1.5 KiB", "7.9 MiB".
std::string formatBytes(std::uint64_t bytes);
