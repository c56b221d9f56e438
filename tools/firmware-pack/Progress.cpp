#include "Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace Norv::Corvane::Pack {

namespace {

constexpr std::int64_t quietTime = 1000;  // milliseconds
constexpr std::int64_t barInterval = 100;

std::int64_t now() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::size_t terminalWidth() {
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

}  // namespace

ProgressDisplay::ProgressDisplay() : terminal_(::isatty(STDERR_FILENO) == 1), start_(now()) {}

ProgressDisplay::~ProgressDisplay() {
    clearBar();
}

ProgressSink ProgressDisplay::sink() {
    return [this](const char* step, std::uint64_t done, std::uint64_t total) {
        show(step, done, total);
    };
}

void ProgressDisplay::show(const char* step, std::uint64_t done, std::uint64_t total) {
    const std::int64_t time = now();
    if (time - start_ < quietTime || total == 0) {
        return;
    }
    const auto percent = static_cast<unsigned>(std::min(done, total) * 100 / total);
    const bool newStep = step_ != step;
    if (terminal_) {
        if (newStep || time - drawn_ >= barInterval) {
            drawBar(step, percent);
            drawn_ = time;
        }
    } else if (newStep || percent / 10 > percent_ / 10) {
        std::fprintf(stderr, "firmware-pack: %s: %u %%\n", step, percent);
    } else {
        return;
    }
    step_ = step;
    percent_ = percent;
}

void ProgressDisplay::drawBar(const char* step, unsigned percent) {
    // "verifying [####      ] 100 %", and a column that stays free: terminals wrap after the last.
    const std::string label = std::string(step) + " ";
    const std::size_t used = label.size() + 9;
    const std::size_t width = terminalWidth();
    std::string line = label;
    if (width >= used + 10) {
        const std::size_t room = std::min<std::size_t>(width - used, 50);
        const std::size_t filled = room * percent / 100;
        line += "[" + std::string(filled, '#') + std::string(room - filled, ' ') + "] ";
    }
    line += std::to_string(percent) + " %";
    std::fprintf(stderr, "\r\x1b[K%s", line.substr(0, width - 1).c_str());
    std::fflush(stderr);
    barStands_ = true;
}

void ProgressDisplay::clearBar() {
    if (barStands_) {
        std::fprintf(stderr, "\r\x1b[K");
        std::fflush(stderr);
        barStands_ = false;
    }
}

}  // namespace Norv::Corvane::Pack
