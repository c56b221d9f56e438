// Work that is done in a child process, so that its cost and its reach can be told from the test's.

#pragma once

#include <cstddef>
#include <functional>

namespace Norv::Corvane::Test {

constexpr std::size_t mebibyte = std::size_t{1} << 20;

struct Usage {
    // False when the work did not come to its end: a signal, a forbidden call, an exception.
    bool finished = false;
    // Processor time, in seconds.
    double seconds = 0;
    // Growth of the largest resident set, in bytes.
    double memory = 0;
};

// The child ends without destructors. Call while no other thread runs.
Usage measured(const std::function<void()>& work);

// Whether the work ends well where it is fatal to open a file or a socket, to start a process or a
// thread, and to change names or rights of files. What cannot be seen is not fatal.
bool staysInside(const std::function<void()>& work);

// Whether `staysInside` sees files that are opened. A sanitizer opens files itself.
bool seesOpening();

// Whether it sees the rest. An emulator cannot forbid what it does itself.
bool seesReaching();

// Whether the work ends well with at most this many bytes of address space more than now. Always so
// in builds whose sanitizer needs the address space itself.
bool worksWithin(std::size_t bytes, const std::function<void()>& work);

// How much slower than usual this build runs at worst: sanitizers and emulators take their time.
double slowness();

// Whether memory is what the library takes, not what a sanitizer adds.
bool measuresMemory();

}  // namespace Norv::Corvane::Test
