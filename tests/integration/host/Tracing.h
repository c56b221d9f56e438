// System calls of firmware-host, watched and changed by strace.

#pragma once

#include <string>
#include <vector>

#include "Process.h"

namespace Norv::Corvane::Test {

// Whether processes may be traced here. Not under an emulator, whose own calls strace would see.
inline bool canTrace() {
    return emulator().empty() && run({"strace", "-qq", "-o", "/dev/null", "true"}).status == 0;
}

// `command` under strace with these options. A traced process cannot look for its own leaks.
inline std::vector<std::string> traced(const std::vector<std::string>& options,
                                       const std::vector<std::string>& command) {
    std::vector<std::string> words = {"env", "ASAN_OPTIONS=detect_leaks=0", "strace", "-qq"};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

}  // namespace Norv::Corvane::Test
