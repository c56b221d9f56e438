// What happens during an installation, on its way to the main thread.
//
// The installer calls back on its worker thread, and signals arrive anywhere. Both only post an
// event; the main thread waits for events and does everything else, so nothing needs a lock.

#pragma once

struct Event {
    enum class Kind { Progress, Finished, CancelRequested };

    Kind kind;
    // Percent for `Progress`; 1 for success and 0 for failure for `Finished`.
    unsigned int value;
};

class EventQueue {
public:
    // Throws `std::system_error`.
    EventQueue();
    ~EventQueue();
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    // Adds an event, from any thread. Waits in the unlikely case that thousands are pending.
    void post(const Event& event) const noexcept;

    // As above, but drops the event instead of waiting. Safe in a signal handler.
    void tryPost(const Event& event) const noexcept;

    // Removes the oldest event; waits for one if there is none. Throws `std::system_error`.
    Event wait() const;

    // Readable when there is an event to wait for. The queue keeps ownership.
    int descriptor() const noexcept { return readEnd_; }

private:
    // The ends of a pipe; events are far shorter than what a pipe writes in one piece.
    int readEnd_ = -1;
    int writeEnd_ = -1;
};
