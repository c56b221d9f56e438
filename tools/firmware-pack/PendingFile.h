// Output files that appear complete or not at all.

#pragma once

#include <csignal>
#include <string>
#include <string_view>

namespace Norv::Corvane::Pack {

// While it lives, holds back the signals on this thread that would end the process, so that files
// can be removed first.
class SignalHold {
public:
    SignalHold();
    ~SignalHold();
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;

private:
    sigset_t previous_;
};

// Whether a signal that ends the process arrived and is held back.
bool interrupted();

// A new file beside `path`, removed again unless it has been moved there. Throws `PackError` when
// it cannot be made, or when `path` is something other than a regular file: replacing a device or a
// pipe would destroy it.
class PendingFile {
public:
    explicit PendingFile(std::string path);
    ~PendingFile();
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const std::string& name() const { return pending_; }

    // Replaces the content by these bytes. Throws `PackError`.
    void write(std::string_view bytes);
    // Replaces the content by that of this file. Throws `PackError`.
    void copyFrom(const std::string& source);

    // Syncs the content and replaces `path` by it. Throws `PackError`.
    void moveIntoPlace();

private:
    void sync(const std::string& name) const;

    SignalHold hold_;
    std::string path_;
    std::string pending_;
    bool moved_ = false;
};

[[noreturn]] void failWriting(const std::string& path, const std::string& reason);

}  // namespace Norv::Corvane::Pack
