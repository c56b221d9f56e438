#include "Archive.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>

#include "Error.h"

namespace Norv::Corvane::Pack {

namespace {

// DOS date of 1 January 1980, the first that a zip archive can state.
constexpr zip_uint16_t firstDosDate = (1U << 5U) | 1U;

struct DiscardArchive {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct CloseFile {
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};
struct FreeSource {
    void operator()(zip_source_t* source) const { zip_source_free(source); }
};
// Changes are thrown away unless `closeArchive` is called.
using ArchivePtr = std::unique_ptr<zip_t, DiscardArchive>;
using ZipFilePtr = std::unique_ptr<zip_file_t, CloseFile>;
using SourcePtr = std::unique_ptr<zip_source_t, FreeSource>;

[[noreturn]] void failWriting(const std::string& path, const std::string& reason) {
    throw PackError("cannot write " + path + ": " + reason);
}

ArchivePtr openArchive(const std::string& path, int flags) {
    int code = 0;
    ArchivePtr archive(zip_open(path.c_str(), flags, &code));
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        throw PackError("cannot open " + path + ": " + reason);
    }
    return archive;
}

// Signals that end a process and that nobody has asked to be ignored.
sigset_t endingSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        ::sigaction(signal, nullptr, &action);
        if (action.sa_handler != SIG_IGN) {
            ::sigaddset(&signals, signal);
        }
    }
    return signals;
}

// Whether one of them arrived and is held back.
bool interrupted() {
    const sigset_t ending = endingSignals();
    sigset_t held;
    ::sigpending(&held);
    ::sigandset(&held, &held, &ending);
    return ::sigisemptyset(&held) == 0;
}

// Holds them back from this thread for as long as it lives; then they end the process as usual.
class SignalHold {
public:
    SignalHold() {
        const sigset_t signals = endingSignals();
        ::pthread_sigmask(SIG_BLOCK, &signals, &previous_);
    }
    ~SignalHold() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;

private:
    sigset_t previous_;
};

// A new file beside `path`, removed again unless it has been moved there.
class PendingFile {
public:
    explicit PendingFile(std::string path)
        : path_(std::move(path)), pending_(path_ + ".part" + std::to_string(::getpid())) {
        struct stat status {};
        if (::stat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
            // Replacing a device or a pipe would destroy it.
            failWriting(path_, "it exists and is not a regular file");
        }
        const int fd = ::open(pending_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0) {
            failWriting(path_, std::strerror(errno));
        }
        ::close(fd);
    }
    ~PendingFile() {
        if (!moved_) {
            ::unlink(pending_.c_str());
        }
    }
    PendingFile(const PendingFile&) = delete;
    PendingFile& operator=(const PendingFile&) = delete;

    const std::string& name() const { return pending_; }

    void moveIntoPlace() {
        sync(pending_);
        if (::rename(pending_.c_str(), path_.c_str()) != 0) {
            failWriting(path_, std::strerror(errno));
        }
        moved_ = true;
        const std::string::size_type slash = path_.rfind('/');
        sync(slash == std::string::npos ? "." : path_.substr(0, slash + 1));
    }

private:
    void sync(const std::string& name) const {
        const int fd = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
        const bool synced = fd >= 0 && ::fsync(fd) == 0;
        const int error = errno;
        if (fd >= 0) {
            ::close(fd);
        }
        if (!synced) {
            failWriting(path_, std::strerror(error));
        }
    }

    SignalHold hold_;
    std::string path_;
    std::string pending_;
    bool moved_ = false;
};

SourcePtr makeSource(zip_t* archive, const ArchiveEntry& entry) {
    if (const auto* file = std::get_if<SourceFile>(&entry.content)) {
        return SourcePtr(zip_source_file(archive, file->path.c_str(), 0, -1));
    }
    const std::string& bytes = std::get<std::string>(entry.content);
    return SourcePtr(zip_source_buffer(archive, bytes.data(), bytes.size(), 0));
}

void addEntry(zip_t* archive, const ArchiveEntry& entry) {
    SourcePtr source = makeSource(archive, entry);
    if (!source) {
        throw PackError("cannot pack " + entry.name + ": " + zip_strerror(archive));
    }
    const zip_int64_t index =
        zip_file_add(archive, entry.name.c_str(), source.get(), ZIP_FL_ENC_UTF_8);
    if (index < 0) {
        throw PackError("cannot pack " + entry.name + ": " + zip_strerror(archive));
    }
    static_cast<void>(source.release());  // now owned by the archive
    const auto position = static_cast<zip_uint64_t>(index);
    const zip_int32_t method = entry.deflate ? ZIP_CM_DEFLATE : ZIP_CM_STORE;
    if (zip_set_file_compression(archive, position, method, 0) != 0 ||
        zip_file_set_dostime(archive, position, 0, firstDosDate, 0) != 0) {
        throw PackError("cannot pack " + entry.name + ": " + zip_strerror(archive));
    }
}

FileDigest digestIn(zip_t* archive, const std::string& archivePath, const std::string& name) {
    const ZipFilePtr file(zip_fopen(archive, name.c_str(), 0));
    if (!file) {
        throw PackError("cannot read " + name + " in " + archivePath + ": " +
                        zip_strerror(archive));
    }
    Sha256 sha256;
    std::uint64_t length = 0;
    std::vector<char> chunk(256 * 1024);
    for (;;) {
        const zip_int64_t count = zip_fread(file.get(), chunk.data(), chunk.size());
        if (count < 0) {
            throw PackError("cannot read " + name + " in " + archivePath + ": " +
                            zip_file_strerror(file.get()));
        }
        if (count == 0) {
            return {sha256.finish(), length};
        }
        if (interrupted()) {
            throw PackError("interrupted while reading " + archivePath);
        }
        sha256.update(chunk.data(), static_cast<std::size_t>(count));
        length += static_cast<std::uint64_t>(count);
    }
}

void verifyEntries(const std::string& archivePath, const std::vector<ArchiveEntry>& entries) {
    // Opened once: that takes time proportional to the number of entries.
    const ArchivePtr archive = openArchive(archivePath, ZIP_RDONLY);
    for (const ArchiveEntry& entry : entries) {
        if (entry.expected &&
            digestIn(archive.get(), archivePath, entry.name).sha256 != entry.expected->sha256) {
            throw PackError(entry.name + " changed while it was packed");
        }
    }
}

}  // namespace

void writeArchive(const std::string& path, const std::vector<ArchiveEntry>& entries) {
    if (entries.empty()) {
        failWriting(path, "an archive needs an entry");
    }
    PendingFile pending(path);
    ArchivePtr archive = openArchive(pending.name(), ZIP_TRUNCATE);
    for (const ArchiveEntry& entry : entries) {
        addEntry(archive.get(), entry);
    }
    zip_register_cancel_callback_with_state(
        archive.get(), [](zip_t*, void*) { return interrupted() ? 1 : 0; }, nullptr, nullptr);
    if (zip_close(archive.get()) != 0) {
        failWriting(path, zip_strerror(archive.get()));
    }
    static_cast<void>(archive.release());  // freed by zip_close
    verifyEntries(pending.name(), entries);
    pending.moveIntoPlace();
}

FileDigest digestEntry(const std::string& archivePath, const std::string& name) {
    const ArchivePtr archive = openArchive(archivePath, ZIP_RDONLY);
    return digestIn(archive.get(), archivePath, name);
}

}  // namespace Norv::Corvane::Pack
