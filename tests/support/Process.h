// Running other programs.

#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace Norv::Corvane::Test {

struct ProcessResult {
    // Exit status, or 128 plus the signal that ended the process. 127 when it could not be started.
    int status = 0;
    std::string out;
    std::string err;
};

// What goes in front of a program of this build to start it: the emulator of a cross build, or what
// the environment variable CORVANE_EMULATOR says. Empty otherwise. It never changes within a
// process.
const std::string& emulator();

// Whether the emulator is valgrind.
bool underValgrind();

// The emulator goes before the first word that names a program of this build, by its full path. All
// other programs are the machine's own.
std::vector<std::string> withEmulator(std::vector<std::string> command);

// The style of death tests: a fresh process, except under an emulator, where a test executable
// cannot start itself.
inline const char* deathTestStyle() {
    return emulator().empty() ? "threadsafe" : "fast";
}

// A child process whose standard output and error are kept, in files, for `wait`. The first
// argument is the program, searched in PATH; no shell takes part. Programs of this build start
// under the emulator. Standard input is /dev/null. Throws `std::runtime_error` when the system
// refuses.
class Process {
public:
    explicit Process(const std::vector<std::string>& arguments);
    // Kills the process if nobody has waited for it.
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t id() const { return id_; }
    // What it has written to standard error by now.
    std::string errorSoFar() const;
    // To be called once.
    ProcessResult wait();

private:
    int out_;
    int err_;
    pid_t id_;
};

// Starts the program and waits for its end.
ProcessResult run(const std::vector<std::string>& arguments);

}  // namespace Norv::Corvane::Test
