// The events of an installation, on their way to the main thread.
//
// The installer calls back and logs on its worker thread, and starts scripts from there. All of
// that only posts an event; the main thread waits for events and does everything else.

#pragma once

#include <deque>
#include <mutex>
#include <optional>
#include <string>

struct Event {
    enum class Kind { Progress, Log, ScriptStarted, Finished, Terminated };

    Kind kind;
    // Percent for `Progress`; 1 for success and 0 for failure for `Finished`; for `ScriptStarted`
    // the descriptor that its output is read from, which passes to whoever takes the event.
    int value;
    // The text of a log record; why the process has to end for `Terminated`.
    std::string text;
    // Of a log record.
    std::string level;
};

class EventQueue {
public:
    // Throws `std::system_error`.
    EventQueue();
    ~EventQueue();
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    // Adds an event, from any thread.
    void post(Event event);

    // Removes the oldest event, if there is one. On the main thread.
    std::optional<Event> take();

    // Readable when there may be an event. The queue keeps ownership.
    int descriptor() const noexcept { return descriptor_; }

private:
    int descriptor_;
    std::mutex mutex_;
    std::deque<Event> events_;
};
