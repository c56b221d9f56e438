// Signals as requests instead of sudden ends.

#pragma once

#include <csignal>

#include "EventQueue.h"

// From now on SIGPIPE does nothing: a reader of our output that goes away must not end an
// installation, nor change its exit status.
void surviveBrokenPipes();

// Turns SIGINT, SIGTERM and SIGHUP into `CancelRequested` events for as long as it lives, except
// those that were ignored before (as under nohup). `Installer::Cancel` may not be called from a
// signal handler, so somebody has to wait for the events.
//
// Ctrl-C on a terminal reaches the scripts of a package as well, and would kill the one under way
// instead of letting it finish. Programs inherit which signals are ignored, and nothing else about
// them: SIGINT and SIGHUP are therefore ignored here, but blocked as well, which on Linux keeps
// them pending until `waitForEvent` fetches them. SIGTERM is sent to one process; scripts get it as
// usual.
//
// At most one object at a time; to be created before the threads whose scripts it concerns, and
// used on the thread that created it.
class CancelSignals {
public:
    // Throws `std::system_error`.
    explicit CancelSignals(const EventQueue& queue);
    ~CancelSignals();
    CancelSignals(const CancelSignals&) = delete;
    CancelSignals& operator=(const CancelSignals&) = delete;

    // The next event, of the queue or of a signal. Throws `std::system_error`.
    Event waitForEvent() const;

private:
    const EventQueue& queue_;
    sigset_t previousMask_;
    struct sigaction previous_[3];
    int descriptor_ = -1;
};
