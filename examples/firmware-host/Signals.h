// Turns signals into requests, instead of letting them end the process at once.

#pragma once

#include <poll.h>

#include <array>
#include <csignal>

// From now on SIGPIPE does nothing: a reader of our output that goes away must not end an
// installation, nor change its exit status.
void surviveBrokenPipes();

// Turns SIGINT, SIGTERM and SIGHUP into requests for cancellation for as long as it lives, except
// those that were ignored before (as under nohup), and notes SIGWINCH. `Installer::Cancel` may not
// be called from a signal handler, so the host has to fetch the requests.
//
// Ctrl-C on a terminal reaches the scripts of a package as well, and would kill the one under way
// instead of letting it finish. Programs inherit which signals are ignored, but no handlers. SIGINT
// and SIGHUP are therefore ignored here, but blocked as well, which on Linux keeps them pending
// until they are fetched. SIGTERM is sent to one process; scripts get it as usual.
//
// At most one object at a time; to be created before the threads whose scripts it concerns, and
// used on the thread that created it.
class Signals {
public:
    // Throws `std::system_error`.
    Signals();
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    struct Requests {
        unsigned int cancellations = 0;
        // The terminal may have another size.
        bool resized = false;
    };

    // What has come in since the last call. Does not wait.
    Requests take() const;

    // For waiting until there are requests.
    std::array<pollfd, 2> descriptors() const noexcept;

private:
    sigset_t previousMask_;
    std::array<struct sigaction, 4> previous_;
    int blocked_ = -1;
    // A pipe that the handler writes the number of the signal to.
    int readEnd_ = -1;
    int writeEnd_ = -1;
};
