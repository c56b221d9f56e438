#include "Signals.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace {

constexpr std::array<int, 4> signals = {SIGINT, SIGHUP, SIGTERM, SIGWINCH};

// Where the handler writes to; below 0 when nobody reads.
std::atomic<int> handlersEnd{-1};
static_assert(std::atomic<int>::is_always_lock_free, "read in a signal handler");

void note(int signal) {
    const int error = errno;
    const auto byte = static_cast<unsigned char>(signal);
    static_cast<void>(::write(handlersEnd.load(), &byte, 1) < 0);
    errno = error;
}

bool isIgnored(int signal) {
    struct sigaction current {};
    ::sigaction(signal, nullptr, &current);
    return current.sa_handler == SIG_IGN;
}

[[noreturn]] void fail(const char* call) {
    throw std::system_error(errno, std::generic_category(), call);
}

}  // namespace

void surviveBrokenPipes() {
    struct sigaction action {};
    // A function, not SIG_IGN, which the scripts would inherit.
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGPIPE, &action, nullptr);
}

Signals::Signals() {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    for (const int signal : {SIGINT, SIGHUP}) {
        if (!isIgnored(signal)) {
            ::sigaddset(&blocked, signal);
        }
    }
    int ends[2];
    // Not inherited by scripts: they could keep the pipe open.
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        fail("pipe");
    }
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
    blocked_ = ::signalfd(-1, &blocked, SFD_CLOEXEC | SFD_NONBLOCK);
    if (blocked_ < 0) {
        const int error = errno;
        ::close(readEnd_);
        ::close(writeEnd_);
        errno = error;
        fail("signalfd");
    }
    // Blocked before they are ignored, so that none gets lost in between.
    ::pthread_sigmask(SIG_BLOCK, &blocked, &previousMask_);
    handlersEnd = writeEnd_;
    for (std::size_t i = 0; i < signals.size(); ++i) {
        ::sigaction(signals[i], nullptr, &previous_[i]);
        if (previous_[i].sa_handler != SIG_IGN) {
            struct sigaction action {};
            const bool isBlocked = ::sigismember(&blocked, signals[i]) == 1;
            action.sa_handler = isBlocked ? SIG_IGN : note;
            action.sa_flags = SA_RESTART;
            ::sigaction(signals[i], &action, nullptr);
        }
    }
}

Signals::~Signals() {
    // A request that came too late needs no answer.
    ::pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
    for (std::size_t i = 0; i < signals.size(); ++i) {
        ::sigaction(signals[i], &previous_[i], nullptr);
    }
    handlersEnd = -1;
    ::close(blocked_);
    ::close(readEnd_);
    ::close(writeEnd_);
}

Signals::Requests Signals::take() const {
    Requests requests;
    signalfd_siginfo signal{};
    while (::read(blocked_, &signal, sizeof signal) > 0) {
        ++requests.cancellations;
    }
    unsigned char noted = 0;
    while (::read(readEnd_, &noted, 1) > 0) {
        if (noted == SIGWINCH) {
            requests.resized = true;
        } else {
            ++requests.cancellations;
        }
    }
    return requests;
}

std::array<pollfd, 2> Signals::descriptors() const noexcept {
    return {{{blocked_, POLLIN, 0}, {readEnd_, POLLIN, 0}}};
}
