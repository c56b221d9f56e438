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
    // Without this nobody would notice the event. If the counter is full, the descriptor is
    // readable already.
    while (::write(descriptor_, &one, sizeof one) < 0 && errno != EAGAIN) {
    }
}

std::optional<Event> EventQueue::take() {
    std::uint64_t posted = 0;
    // Read before the events are looked at: one that is posted later makes the descriptor readable
    // again.
    static_cast<void>(::read(descriptor_, &posted, sizeof posted) < 0);
    const std::lock_guard<std::mutex> lock(mutex_);
    if (events_.empty()) {
        return std::nullopt;
    }
    Event event = std::move(events_.front());
    events_.pop_front();
    return event;
}
