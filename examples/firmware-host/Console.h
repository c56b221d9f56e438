// The streams that the caller gave us, kept apart from those that scripts inherit.
//
// Each text is written at once and whole, so that the streams stay in order if they share a file.
// If the reader is gone or the device is full, the text is lost, and nothing else happens. Used
// from any thread; texts from several may interleave.

#pragma once

#include <string_view>

class Console {
public:
    // Throws `std::system_error`.
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void out(std::string_view text) const noexcept;
    void error(std::string_view text) const noexcept;

    bool outIsTerminal() const noexcept { return outIsTerminal_; }
    bool errorIsTerminal() const noexcept { return errorIsTerminal_; }

    // Of the terminal behind `out` as it is now; 80 when that cannot be determined.
    unsigned int columns() const noexcept;

    // The copies of descriptors 1 and 2, not inherited by other programs. Ours to close.
    int outDescriptor() const noexcept { return out_; }
    int errorDescriptor() const noexcept { return error_; }

private:
    int out_;
    int error_;
    bool outIsTerminal_;
    bool errorIsTerminal_;
};

// Writes as much of the text as the descriptor accepts. False when that was not all.
bool writeAll(int descriptor, std::string_view text) noexcept;
