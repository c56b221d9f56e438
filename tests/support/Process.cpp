#include "Process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace Norv::Corvane::Test {

namespace {

std::string contents(int fd) {
    std::string text;
    std::array<char, 4096> chunk{};
    ssize_t count = 0;
    while ((count = ::pread(fd, chunk.data(), chunk.size(), static_cast<off_t>(text.size()))) > 0) {
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

const std::string& emulator() {
    static const std::string text = [] {
        const char* const wanted = std::getenv("CORVANE_EMULATOR");
        return std::string(wanted != nullptr ? wanted : CORVANE_EMULATOR);
    }();
    return text;
}

bool underValgrind() {
    return emulator().find("valgrind") != std::string::npos;
}

std::vector<std::string> withEmulator(std::vector<std::string> command) {
    const auto program = std::find_if(command.begin(), command.end(), [](const std::string& word) {
        return word.rfind(CORVANE_BUILD_DIR "/", 0) == 0 && ::access(word.c_str(), X_OK) == 0;
    });
    if (program != command.end()) {
        std::istringstream words(emulator());
        command.insert(program, std::istream_iterator<std::string>(words), {});
    }
    return command;
}

Process::Process(const std::vector<std::string>& arguments)
    : out_(::memfd_create("out", MFD_CLOEXEC)), err_(::memfd_create("err", MFD_CLOEXEC)), id_(-1) {
    std::vector<char*> argv;
    const std::vector<std::string> command = withEmulator(arguments);
    for (const std::string& argument : command) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    id_ = out_ < 0 || err_ < 0 ? -1 : ::fork();
    if (id_ == 0) {
        const int null = ::open("/dev/null", O_RDONLY);
        if (::dup2(null, 0) >= 0 && ::dup2(out_, 1) >= 0 && ::dup2(err_, 2) >= 0) {
            ::execvp(argv[0], argv.data());
        }
        ::_exit(127);
    }
    if (id_ < 0) {
        throw std::runtime_error("cannot start " + arguments.at(0));
    }
}

Process::~Process() {
    if (id_ > 0) {
        ::kill(id_, SIGKILL);
        ::waitpid(id_, nullptr, 0);
    }
    ::close(out_);
    ::close(err_);
}

std::string Process::errorSoFar() const {
    return contents(err_);
}

ProcessResult Process::wait() {
    int status = 0;
    while (::waitpid(id_, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("cannot wait for a process");
        }
    }
    id_ = -1;
    const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {code, contents(out_), contents(err_)};
}

ProcessResult run(const std::vector<std::string>& arguments) {
    return Process(arguments).wait();
}

}  // namespace Norv::Corvane::Test
