// Reports the progress of long work.

#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace Norv::Corvane::Pack {

// Called from time to time with the name of the step and, in bytes, what is done and what there is
// to do. May be empty.
using ProgressSink = std::function<void(const char* step, std::uint64_t done, std::uint64_t total)>;

// One step over a known number of bytes.
class Step {
public:
    Step(const ProgressSink& sink, const char* name, std::uint64_t total)
        : sink_(sink), name_(name), total_(total) {}
    void advance(std::uint64_t bytes) {
        done_ += bytes;
        if (sink_) {
            sink_(name_, done_, total_);
        }
    }

private:
    const ProgressSink& sink_;
    const char* name_;
    std::uint64_t total_;
    std::uint64_t done_ = 0;
};

// Shows progress on standard error, as soon as the work has taken a second: a bar on a terminal,
// otherwise a line for each tenth. The destructor removes the bar.
class ProgressDisplay {
public:
    ProgressDisplay();
    ~ProgressDisplay();
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void show(const char* step, std::uint64_t done, std::uint64_t total);
    ProgressSink sink();

private:
    void drawBar(const char* step, unsigned percent);
    void clearBar();

    bool terminal_;
    std::int64_t start_;
    std::int64_t drawn_ = 0;
    bool barStands_ = false;
    std::string step_;
    unsigned percent_ = 0;
};

}  // namespace Norv::Corvane::Pack
