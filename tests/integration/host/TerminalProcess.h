// A program on a terminal of its own.

#pragma once

#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Process.h"

namespace Norv::Corvane::Test {

// A process whose controlling terminal is held here, 60 columns wide unless told otherwise.
class TerminalProcess {
public:
    explicit TerminalProcess(const std::vector<std::string>& words, unsigned short columns = 60) {
        std::vector<char*> argv;
        const std::vector<std::string> command = withEmulator(words);
        for (const std::string& word : command) {
            argv.push_back(const_cast<char*>(word.c_str()));
        }
        argv.push_back(nullptr);
        const winsize size = {24, columns, 0, 0};
        id_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
        if (id_ == 0) {
            ::execvp(argv[0], argv.data());
            ::_exit(127);
        }
    }
    ~TerminalProcess() {
        ::close(terminal_);
        if (id_ > 0) {
            ::kill(id_, SIGKILL);
            ::waitpid(id_, nullptr, 0);
        }
    }
    TerminalProcess(const TerminalProcess&) = delete;
    TerminalProcess& operator=(const TerminalProcess&) = delete;

    const std::string& output() const { return output_; }

    // Reads until the text appears, or the process ends, or half a minute has passed.
    bool readUntil(const std::string& text) {
        while (output_.find(text) == std::string::npos && readMore()) {
        }
        return output_.find(text) != std::string::npos;
    }

    // The program is told by SIGWINCH.
    void resize(unsigned short columns) const {
        const winsize size = {24, columns, 0, 0};
        EXPECT_EQ(::ioctl(terminal_, TIOCSWINSZ, &size), 0);
    }

    void type(char key) const { EXPECT_EQ(::write(terminal_, &key, 1), 1); }

    int wait() {
        while (readMore()) {
        }
        int status = 0;
        ::waitpid(id_, &status, 0);
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    bool readMore() {
        pollfd readable = {terminal_, POLLIN, 0};
        std::array<char, 4096> chunk{};
        if (::poll(&readable, 1, 30000) <= 0) {
            return false;
        }
        const ssize_t count = ::read(terminal_, chunk.data(), chunk.size());
        if (count <= 0) {
            return false;
        }
        output_.append(chunk.data(), static_cast<std::size_t>(count));
        return true;
    }

    int terminal_ = -1;
    pid_t id_ = -1;
    std::string output_;
};

}  // namespace Norv::Corvane::Test
