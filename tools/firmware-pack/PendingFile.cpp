#include "PendingFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Descriptor.h"
#include "Error.h"

namespace Norv::Corvane::Pack {

namespace {

// Signals that end a process and that nobody has asked to be ignored.
sigset_t endingSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        ::sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            ::sigaddset(&signals, signal);
        }
    }
    return signals;
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace

SignalHold::SignalHold() : previous_() {
    const sigset_t signals = endingSignals();
    ::pthread_sigmask(SIG_BLOCK, &signals, &previous_);
}

SignalHold::~SignalHold() {
    ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

bool interrupted() {
    const sigset_t ending = endingSignals();
    sigset_t held;
    ::sigpending(&held);
    ::sigandset(&held, &held, &ending);
    return ::sigisemptyset(&held) == 0;
}

void failWriting(const std::string& path, const std::string& reason) {
    throw PackError("cannot write " + path + ": " + reason);
}

PendingFile::PendingFile(std::string path)
    : path_(std::move(path)), pending_(path_ + ".part" + std::to_string(::getpid())) {
    struct stat status {};
    if (::stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        failWriting(path_, "it exists and is not a regular file");
    }
    const Descriptor file(::open(pending_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) {
        failWriting(path_, std::strerror(errno));
    }
}

PendingFile::~PendingFile() {
    if (!moved_) {
        ::unlink(pending_.c_str());
    }
}

void PendingFile::write(std::string_view bytes) {
    const Descriptor file(::open(pending_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!file || !writeAll(file.get(), bytes)) {
        failWriting(path_, std::strerror(errno));
    }
}

void PendingFile::copyFrom(const std::string& source) {
    const Descriptor input(::open(source.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!input) {
        throw PackError("cannot open " + source + ": " + std::strerror(errno));
    }
    const Descriptor output(::open(pending_.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    if (!output) {
        failWriting(path_, std::strerror(errno));
    }
    std::vector<char> chunk(std::size_t{1} << 20U);
    for (;;) {
        const ssize_t count = ::read(input.get(), chunk.data(), chunk.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw PackError("cannot read " + source + ": " + std::strerror(errno));
        }
        if (count == 0) {
            return;
        }
        if (interrupted()) {
            throw PackError("interrupted while reading " + source);
        }
        if (!writeAll(output.get(), {chunk.data(), static_cast<std::size_t>(count)})) {
            failWriting(path_, std::strerror(errno));
        }
    }
}

void PendingFile::moveIntoPlace() {
    sync(pending_);
    if (::rename(pending_.c_str(), path_.c_str()) != 0) {
        failWriting(path_, std::strerror(errno));
    }
    moved_ = true;
    const std::string::size_type slash = path_.rfind('/');
    sync(slash == std::string::npos ? "." : path_.substr(0, slash + 1));
}

void PendingFile::sync(const std::string& name) const {
    const Descriptor file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file || ::fsync(file.get()) != 0) {
        failWriting(path_, std::strerror(errno));
    }
}

}  // namespace Norv::Corvane::Pack
