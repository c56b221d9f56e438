#include "Medium.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <system_error>

#include "HostError.h"
#include "Payload.h"

namespace {

// A script may have moved the file; the directory that it was in is on the same file system then.
std::string parentOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

[[noreturn]] void fail(const std::string& path) {
    throw HostError(
        "installation failed: everything was written, but cannot be flushed to the "
        "medium (" +
        path + ": " + std::generic_category().message(errno) + ")");
}

class Descriptor {
public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() { ::close(value_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return value_; }

private:
    int value_;
};

int openForFlush(const std::string& path) {
    constexpr int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    const int descriptor = ::open(path.c_str(), O_RDONLY | flags);
    // A file may be writable without being readable.
    return descriptor < 0 && errno == EACCES ? ::open(path.c_str(), O_WRONLY | flags) : descriptor;
}

void flush(const std::string& path, mode_t mode) {
    const Descriptor descriptor(openForFlush(path));
    const int result = descriptor.get() < 0 ? -1
                       : S_ISBLK(mode)      ? ::fsync(descriptor.get())
                                            : ::syncfs(descriptor.get());
    if (result != 0) {
        fail(path);
    }
}

}  // namespace

void flushToMedium(const std::string& target,
                   const Norv::Corvane::Common::FirmwareDescription& description) {
    std::set<dev_t> flushed;
    for (const auto& file : description.files) {
        std::string path = target + '/' + installationPath(file);
        struct stat status {};
        while (::stat(path.c_str(), &status) != 0) {
            const bool gone = errno == ENOENT || errno == ENOTDIR;
            if (!gone || path == "/" || path == ".") {
                fail(path);
            }
            path = parentOf(path);
        }
        // Data written to a device node goes to that device, not to the file system that holds the
        // node.
        const dev_t device = S_ISBLK(status.st_mode) ? status.st_rdev : status.st_dev;
        if (flushed.insert(device).second) {
            flush(path, status.st_mode);
        }
    }
}
