#include "Signals.h"

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <initializer_list>
#include <iterator>
#include <system_error>

namespace {

constexpr int handled[] = {SIGINT, SIGHUP, SIGTERM};

std::atomic<const EventQueue*> cancelQueue{nullptr};
static_assert(std::atomic<const EventQueue*>::is_always_lock_free, "read in a signal handler");

void requestCancellation(int /*signal*/) {
    if (const EventQueue* const queue = cancelQueue.load()) {
        queue->tryPost({Event::Kind::CancelRequested, 0});
    }
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

CancelSignals::CancelSignals(const EventQueue& queue) : queue_(queue) {
    sigset_t blocked;
    ::sigemptyset(&blocked);
    for (const int signal : {SIGINT, SIGHUP}) {
        struct sigaction current {};
        ::sigaction(signal, nullptr, &current);
        if (current.sa_handler != SIG_IGN) {
            ::sigaddset(&blocked, signal);
        }
    }
    descriptor_ = ::signalfd(-1, &blocked, SFD_CLOEXEC | SFD_NONBLOCK);
    if (descriptor_ < 0) {
        fail("signalfd");
    }
    // First blocked, then ignored: in between nothing gets lost.
    ::pthread_sigmask(SIG_BLOCK, &blocked, &previousMask_);
    cancelQueue = &queue;
    for (std::size_t i = 0; i < std::size(handled); ++i) {
        ::sigaction(handled[i], nullptr, &previous_[i]);
        if (previous_[i].sa_handler != SIG_IGN) {
            struct sigaction action {};
            action.sa_handler = handled[i] == SIGTERM ? requestCancellation : SIG_IGN;
            action.sa_flags = SA_RESTART;
            ::sigaction(handled[i], &action, nullptr);
        }
    }
}

CancelSignals::~CancelSignals() {
    // A request that came too late has served its purpose.
    ::pthread_sigmask(SIG_SETMASK, &previousMask_, nullptr);
    for (std::size_t i = 0; i < std::size(handled); ++i) {
        ::sigaction(handled[i], &previous_[i], nullptr);
    }
    cancelQueue = nullptr;
    ::close(descriptor_);
}

Event CancelSignals::waitForEvent() const {
    for (;;) {
        pollfd sources[] = {{queue_.descriptor(), POLLIN, 0}, {descriptor_, POLLIN, 0}};
        if (::poll(sources, std::size(sources), -1) < 0) {
            if (errno != EINTR) {
                fail("poll");
            }
            continue;
        }
        signalfd_siginfo signal{};
        if (sources[1].revents != 0 && ::read(descriptor_, &signal, sizeof signal) > 0) {
            return {Event::Kind::CancelRequested, 0};
        }
        if (sources[0].revents != 0) {
            return queue_.wait();
        }
    }
}
