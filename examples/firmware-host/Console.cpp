#include "Console.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace {

int copyOf(int descriptor) {
    const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (copy < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot copy a standard stream");
    }
    return copy;
}

}  // namespace

bool writeAll(int descriptor, std::string_view text) noexcept {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EAGAIN) {
            pollfd writable = {descriptor, POLLOUT, 0};
            ::poll(&writable, 1, -1);
        } else if (count == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

Console::Console()
    : out_(copyOf(STDOUT_FILENO)),
      error_(copyOf(STDERR_FILENO)),
      outIsTerminal_(::isatty(out_) == 1),
      errorIsTerminal_(::isatty(error_) == 1) {}

Console::~Console() {
    ::close(out_);
    ::close(error_);
}

void Console::out(std::string_view text) const noexcept {
    writeAll(out_, text);
}

void Console::error(std::string_view text) const noexcept {
    writeAll(error_, text);
}

unsigned int Console::columns() const noexcept {
    winsize size{};
    const bool known = ::ioctl(out_, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}
