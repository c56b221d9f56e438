#include "Extraction.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "Descriptor.h"
#include "Digest.h"
#include "Error.h"
#include "PackageReading.h"
#include "PendingFile.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

using Common::FirmwareDescription;

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw PackError("cannot extract " + printable(path) + ": " + reason);
}

// The parts of a path; throws unless it names something below the folder.
std::vector<std::string> partsOf(const std::string& path) {
    std::vector<std::string> parts;
    std::size_t at = 0;
    while (at <= path.size()) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        const std::string part = path.substr(at, slash - at);
        if (part == "..") {
            fail(path, "it leads out of the folder");
        }
        if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        at = slash + 1;
    }
    if (parts.empty() || path.back() == '/') {
        fail(path, "it names a folder");
    }
    return parts;
}

Descriptor openFolder(const std::string& folder) {
    if (::mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) {
        fail(folder, std::strerror(errno));
    }
    Descriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened) {
        fail(folder, std::strerror(errno));
    }
    return opened;
}

// Opens a directory one level down; a link is refused.
Descriptor enter(int parent, const std::string& name, const std::string& path) {
    if (::mkdirat(parent, name.c_str(), 0777) != 0 && errno != EEXIST) {
        fail(path, std::strerror(errno));
    }
    Descriptor opened(
        ::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!opened) {
        fail(path, errno == ELOOP || errno == ENOTDIR ? name + " is a link or a file"
                                                      : std::strerror(errno));
    }
    return opened;
}

// A new file, removed again unless it is kept.
class NewFile {
public:
    NewFile(int root, const std::string& path) : folder_(-1), file_(-1), path_(path) {
        const std::vector<std::string> parts = partsOf(path);
        for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
            folder_ = enter(i == 0 ? root : folder_.get(), parts[i], path);
        }
        name_ = parts.back();
        parent_ = folder_ ? folder_.get() : root;
        file_ = Descriptor(::openat(parent_, name_.c_str(),
                                    O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (!file_) {
            fail(path, std::strerror(errno));
        }
    }
    ~NewFile() {
        if (file_ && !kept_) {
            ::unlinkat(parent_, name_.c_str(), 0);
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    void write(const char* data, std::size_t size) {
        while (size > 0) {
            const ssize_t count = ::write(file_.get(), data, size);
            if (count < 0 && errno != EINTR) {
                fail(path_, std::strerror(errno));
            }
            const auto written = static_cast<std::size_t>(count < 0 ? 0 : count);
            data += written;
            size -= written;
        }
    }

    void keep() { kept_ = true; }

private:
    Descriptor folder_;
    Descriptor file_;
    std::string path_;
    std::string name_;
    int parent_ = -1;
    bool kept_ = false;
};

void extractFile(const libzip::archive& archive, const FirmwareDescription::File& file,
                 NewFile& output, Step& step) {
    const std::string& name = file.localFilePath;
    libzip::file entry = [&] {
        try {
            return archive.open(name);
        } catch (const std::runtime_error& error) {
            fail(name, printable(error.what()));
        }
    }();
    Sha256 sha256;
    std::vector<char> chunk(256 * 1024);
    zip_int64_t count = 0;
    while ((count = entry.read(chunk.data(), chunk.size())) > 0) {
        if (interrupted()) {
            fail(name, "interrupted");
        }
        const auto size = static_cast<std::size_t>(count);
        sha256.update(chunk.data(), size);
        output.write(chunk.data(), size);
        step.advance(size);
    }
    if (count < 0) {
        fail(name, "the entry is damaged");
    }
    if (sha256.finish() != file.hashValue) {
        fail(name, "it has another digest than the manifest says");
    }
    output.keep();
}

}  // namespace

std::size_t extractPackage(const std::string& package, const std::string& folder, Layout layout,
                           const ProgressSink& progress) {
    const ReadPackage read = readPackage(package);
    if (!read.description) {
        throw PackError("the manifest cannot be read: " + printable(read.error));
    }
    const FirmwareDescription& description = *read.description;
    const SignalHold hold;
    const Descriptor root = openFolder(folder);
    Step step(progress, "extracting", description.totalLength);
    for (const FirmwareDescription::File& file : description.files) {
        const std::string& path = layout == Layout::Archive
                                      ? file.localFilePath
                                      : file.remoteFilePath.value_or(file.localFilePath);
        NewFile output(root.get(), path);
        extractFile(read.package.archive(), file, output, step);
    }
    return description.files.size();
}

}  // namespace Norv::Corvane::Pack
