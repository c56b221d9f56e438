#include "EventQueue.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

EventQueue::EventQueue() {
    int ends[2];
    // Not inherited by scripts: they could keep the pipe open.
    if (::pipe2(ends, O_CLOEXEC) != 0 || ::fcntl(ends[1], F_SETFL, O_NONBLOCK) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    readEnd_ = ends[0];
    writeEnd_ = ends[1];
}

EventQueue::~EventQueue() {
    ::close(readEnd_);
    ::close(writeEnd_);
}

void EventQueue::post(const Event& event) const noexcept {
    while (::write(writeEnd_, &event, sizeof event) != static_cast<ssize_t>(sizeof event)) {
        pollfd writable = {writeEnd_, POLLOUT, 0};
        ::poll(&writable, 1, -1);
    }
}

void EventQueue::tryPost(const Event& event) const noexcept {
    const int error = errno;
    static_cast<void>(::write(writeEnd_, &event, sizeof event) < 0);
    errno = error;
}

Event EventQueue::wait() const {
    Event event{};
    while (::read(readEnd_, &event, sizeof event) != static_cast<ssize_t>(sizeof event)) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "read");
        }
    }
    return event;
}
