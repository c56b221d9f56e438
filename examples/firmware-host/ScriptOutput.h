// What the scripts of a package print, caught line by line.
//
// The library starts each script as a child that inherits our descriptors 1 and 2. Around each
// start, on the thread that starts it, these two are the writing end of a new pipe; the reading end
// is posted as an event. One pipe per script tells whose output it is, even if a script leaves
// something running. Nobody waits for the end of a pipe: what is left running may print for ever,
// and gets SIGPIPE once the host is gone.

#pragma once

#include <poll.h>

#include <functional>
#include <string>
#include <vector>

#include "Console.h"
#include "EventQueue.h"

// While it lives, each process that this one starts prints into a pipe of its own, and each start
// posts a `ScriptStarted` event. Without descriptors for a pipe, a script prints where we do. At
// most one object at a time.
class ScriptCapture {
public:
    // Both must outlive the capture. Throws `std::system_error`.
    ScriptCapture(const Console& console, EventQueue& queue);
    ~ScriptCapture();
    ScriptCapture(const ScriptCapture&) = delete;
    ScriptCapture& operator=(const ScriptCapture&) = delete;
};

// The reading ends of the pipes. Used on the main thread.
class ScriptOutput {
public:
    using LineHandler = std::function<void(const std::string& script, const std::string& line)>;

    // `names` are those of the scripts in the order of their start.
    ScriptOutput(std::vector<std::string> names, LineHandler onLine);
    ~ScriptOutput();
    ScriptOutput(const ScriptOutput&) = delete;
    ScriptOutput& operator=(const ScriptOutput&) = delete;

    // The next script has started; its output comes from `descriptor`, which is ours from now on.
    void add(int descriptor);

    // Passes on everything that was printed so far, except for an incomplete last line. Does not
    // wait.
    void read();

    // As above, but including incomplete lines.
    void finish();

    // For waiting until there is output.
    void appendDescriptors(std::vector<pollfd>& descriptors) const;

private:
    struct Source {
        int descriptor;
        std::string name;
        std::string beginning;
    };

    bool readFrom(Source& source);
    void splitLines(Source& source) const;
    void finish(Source& source) const;
    void handOn(const std::string& script, std::string line) const;

    std::vector<std::string> names_;
    std::size_t started_ = 0;
    LineHandler onLine_;
    std::vector<Source> sources_;
};
