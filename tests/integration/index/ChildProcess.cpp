#include "ChildProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace fs = std::filesystem;

namespace Norv::Corvane::Test {
namespace {

int checked(int result) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category());
    }
    return result;
}

std::string description(int status) {
    return WIFEXITED(status) ? "exit " + std::to_string(WEXITSTATUS(status))
                             : "signal " + std::to_string(WTERMSIG(status));
}

}  // namespace

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

ChildProcess::ChildProcess(const std::function<int()>& run) : pid_(checked(::fork())) {
    if (pid_ == 0) {
        ::alarm(60);
        try {
            ::_exit(run());
        } catch (...) {
            ::_exit(99);
        }
    }
}

ChildProcess::~ChildProcess() {
    if (!end_) {
        kill();
        ::waitpid(pid_, nullptr, 0);
    }
}

std::string ChildProcess::wait() {
    if (!end_) {
        int status = 0;
        checked(::waitpid(pid_, &status, 0));
        end_ = description(status);
    }
    return *end_;
}

std::optional<std::string> ChildProcess::waitFor(std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!end_) {
        int status = 0;
        if (checked(::waitpid(pid_, &status, WNOHANG)) == pid_) {
            end_ = description(status);
        } else if (std::chrono::steady_clock::now() >= deadline) {
            return std::nullopt;
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    return end_;
}

void ChildProcess::stop() {
    checked(::kill(pid_, SIGSTOP));
    int status = 0;
    checked(::waitpid(pid_, &status, WUNTRACED));
    if (!WIFSTOPPED(status)) {
        end_ = description(status);
        throw std::runtime_error("the process ended: " + *end_);
    }
}

void ChildProcess::resume() {
    checked(::kill(pid_, SIGCONT));
}

void ChildProcess::kill() {
    ::kill(pid_, SIGKILL);
}

LockedFile::LockedFile(const fs::path& path)
    : descriptor_(checked(::open(path.c_str(), O_RDWR | O_CLOEXEC))) {}

LockedFile::~LockedFile() {
    ::close(descriptor_);
}

void LockedFile::set(Lock lock) {
    struct flock request {};
    request.l_type = static_cast<short>(lock == Lock::None     ? F_UNLCK
                                        : lock == Lock::Shared ? F_RDLCK
                                                               : F_WRLCK);
    request.l_whence = SEEK_SET;
    checked(::fcntl(descriptor_, F_SETLKW, &request));
}

LockedFile::Lock LockedFile::heldBy(pid_t other) const {
    struct flock request {};
    request.l_type = F_WRLCK;
    request.l_whence = SEEK_SET;
    checked(::fcntl(descriptor_, F_GETLK, &request));
    if (request.l_type == F_UNLCK || request.l_pid != other) {
        return Lock::None;
    }
    return request.l_type == F_RDLCK ? Lock::Shared : Lock::Exclusive;
}

void LockedFile::write(std::string_view content) {
    truncate();
    if (::pwrite(descriptor_, content.data(), content.size(), 0) !=
        static_cast<ssize_t>(content.size())) {
        throw std::runtime_error("cannot write");
    }
}

void LockedFile::truncate() {
    checked(::ftruncate(descriptor_, 0));
}

bool LockedFile::isEmpty() const {
    struct stat status {};
    checked(::fstat(descriptor_, &status));
    return status.st_size == 0;
}

std::size_t positionWithin(pid_t process, const fs::path& file, std::size_t end) {
    const fs::path directory = "/proc/" + std::to_string(process);
    for (const fs::directory_entry& entry : fs::directory_iterator(directory / "fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry.path(), gone) != file) {
            continue;
        }
        std::ifstream info(directory / "fdinfo" / entry.path().filename());
        std::string key;
        std::size_t position = 0;
        if (info >> key >> position && key == "pos:" && position > 0 && position < end) {
            return position;
        }
    }
    return 0;
}

}  // namespace Norv::Corvane::Test
