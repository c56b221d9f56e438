#include "ScriptOutput.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <system_error>
#include <utility>

namespace {

// A script that prints endlessly without a newline must not use up all memory.
constexpr std::size_t longestLine = 4096;

struct Capturing {
    const Console* console;
    EventQueue* queue;
};
Capturing target = {nullptr, nullptr};
std::atomic<bool> capturing{false};

void beforeFork() noexcept {
    const int error = errno;
    int ends[2];
    if (capturing && ::pipe2(ends, O_CLOEXEC) == 0) {
        ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
        ::dup2(ends[1], STDOUT_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[1]);
        target.queue->post({Event::Kind::ScriptStarted, ends[0], {}, {}});
    }
    errno = error;
}

// Leaves no writer of the pipe in this process, so that it ends with the script.
void afterFork() noexcept {
    const int error = errno;
    if (capturing) {
        ::dup2(target.console->outDescriptor(), STDOUT_FILENO);
        ::dup2(target.console->errorDescriptor(), STDERR_FILENO);
    }
    errno = error;
}

void registerOnce() {
    static const int result = ::pthread_atfork(beforeFork, afterFork, nullptr);
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), "pthread_atfork");
    }
}

// Not in the middle of a UTF-8 character.
std::size_t splitPoint(const std::string& text) {
    std::size_t end = longestLine;
    while (end > longestLine - 4 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return end;
}

}  // namespace

ScriptCapture::ScriptCapture(const Console& console, EventQueue& queue) {
    registerOnce();
    target = {&console, &queue};
    capturing = true;
}

ScriptCapture::~ScriptCapture() {
    capturing = false;
}

ScriptOutput::ScriptOutput(std::vector<std::string> names, LineHandler onLine)
    : names_(std::move(names)), onLine_(std::move(onLine)) {}

ScriptOutput::~ScriptOutput() {
    for (const Source& source : sources_) {
        ::close(source.descriptor);
    }
}

void ScriptOutput::add(int descriptor) {
    const std::string name = started_ < names_.size() ? names_[started_] : "script";
    ++started_;
    sources_.push_back({descriptor, name, {}});
}

void ScriptOutput::read() {
    const auto ended = std::remove_if(sources_.begin(), sources_.end(), [this](Source& source) {
        if (readFrom(source)) {
            return false;
        }
        ::close(source.descriptor);
        return true;
    });
    sources_.erase(ended, sources_.end());
}

void ScriptOutput::finish() {
    read();
    for (Source& source : sources_) {
        finish(source);
    }
}

void ScriptOutput::appendDescriptors(std::vector<pollfd>& descriptors) const {
    for (const Source& source : sources_) {
        descriptors.push_back({source.descriptor, POLLIN, 0});
    }
}

// False when nothing more can come. Reads at most as much as a pipe holds, which is everything that
// a script had printed by the time of the call: one that prints endlessly must not keep us here.
bool ScriptOutput::readFrom(Source& source) {
    std::array<char, 65536> chunk{};
    std::size_t left = chunk.size();
    while (left > 0) {
        const ssize_t count = ::read(source.descriptor, chunk.data(), left);
        if (count > 0) {
            source.beginning.append(chunk.data(), static_cast<std::size_t>(count));
            left -= static_cast<std::size_t>(count);
            splitLines(source);
        } else if (count == 0) {
            finish(source);
            return false;
        } else if (errno != EINTR) {
            return errno == EAGAIN;
        }
    }
    return true;
}

void ScriptOutput::splitLines(Source& source) const {
    std::string& text = source.beginning;
    std::size_t start = 0;
    for (std::size_t end = 0; (end = text.find('\n', start)) != std::string::npos;
         start = end + 1) {
        handOn(source.name, text.substr(start, end - start));
    }
    text.erase(0, start);
    while (text.size() > longestLine) {
        const std::size_t end = splitPoint(text);
        handOn(source.name, text.substr(0, end));
        text.erase(0, end);
    }
}

void ScriptOutput::finish(Source& source) const {
    if (!source.beginning.empty()) {
        handOn(source.name, std::exchange(source.beginning, {}));
    }
}

// Lines may end as on another system, and tabs would not line up behind a name.
void ScriptOutput::handOn(const std::string& script, std::string line) const {
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    std::replace(line.begin(), line.end(), '\t', ' ');
    onLine_(script, line);
}
