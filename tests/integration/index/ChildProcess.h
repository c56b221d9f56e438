// Processes that a test forks, and the record locks that it plays against them.

#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Norv::Corvane::Test {

// Waits until `condition` holds; false if it does not within ten seconds.
bool eventually(const std::function<bool()>& condition);

// Runs a function in a process of its own, which ends with the function's result as its status (99
// for an exception) and is killed after a minute. The destructor kills it too.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<int()>& run);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return pid_; }

    // Waits for its end. "exit 0", or "signal 9".
    std::string wait();
    // As wait(), but empty if it still runs after `limit`.
    std::optional<std::string> waitFor(std::chrono::milliseconds limit);

    // Returns when it has stopped.
    void stop();
    void resume();
    void kill();

private:
    pid_t pid_;
    std::optional<std::string> end_;
};

// A descriptor of a file with which to lock it. No other descriptor of the file may be closed in
// this process while a lock is held.
class LockedFile {
public:
    enum class Lock { None, Shared, Exclusive };

    // Opens the file for reading and writing; does not lock it.
    explicit LockedFile(const std::filesystem::path& path);
    ~LockedFile();
    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    // Waits for others.
    void set(Lock lock);
    // The lock that another process holds, and by which this one could not lock exclusively.
    Lock heldBy(pid_t other) const;

    // Replaces the content.
    void write(std::string_view content);
    void truncate();

    bool isEmpty() const;

private:
    int descriptor_;
};

// The position of the first descriptor that `process` has at a place within the file, neither its
// start nor `end`; 0 if there is none.
std::size_t positionWithin(pid_t process, const std::filesystem::path& file, std::size_t end);

}  // namespace Norv::Corvane::Test
