#include "EventQueue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

EventQueue::EventQueue() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "eventfd");
    }
}

EventQueue::~EventQueue() {
    ::close(descriptor_);
}

void EventQueue::post(Event event) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        events_.push_back(std::move(event));
    }
    const std::uint64_t one = 1;
    // Without this the event would lie there unseen. A counter that is full says enough.
    while (::write(descriptor_, &one, sizeof one) < 0 && errno != EAGAIN) {
    }
}

std::optional<Event> EventQueue::take() {
    std::uint64_t posted = 0;
    // Before the look at the events: one that is posted after it makes the descriptor readable.
    static_cast<void>(::read(descriptor_, &posted, sizeof posted) < 0);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (events_.empty()) {
        return std::nullopt;
    }
    Event event = std::move(events_.front());
    events_.pop_front();
    return event;
}
