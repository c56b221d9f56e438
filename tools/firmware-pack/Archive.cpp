#include "Archive.h"

#include <sys/stat.h>
#include <zip.h>

#include <memory>

#include "Error.h"
#include "PendingFile.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

// DOS date of 1 January 1980, the first that a zip archive can state.
constexpr zip_uint16_t firstDosDate = (1U << 5U) | 1U;

// A plain file that everybody may read, in the upper half as Unix archivers write it.
constexpr zip_uint32_t ordinaryFile = static_cast<zip_uint32_t>(S_IFREG | 0644) << 16U;

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

SourcePtr makeSource(zip_t* archive, const ArchiveEntry& entry) {
    if (const auto* file = std::get_if<SourceFile>(&entry.content)) {
        return SourcePtr(zip_source_file(archive, file->path.c_str(), 0, -1));
    }
    const std::string& bytes = std::get<std::string>(entry.content);
    return SourcePtr(zip_source_buffer(archive, bytes.data(), bytes.size(), 0));
}

[[noreturn]] void failPacking(zip_t* archive, const std::string& name) {
    throw PackError("cannot pack " + printable(name) + ": " + zip_strerror(archive));
}

// Sets our method, time and mode, whatever the source has.
void settle(zip_t* archive, zip_int64_t index, const std::string& name, bool deflate) {
    const auto position = static_cast<zip_uint64_t>(index);
    const zip_int32_t method = deflate ? ZIP_CM_DEFLATE : ZIP_CM_STORE;
    if (index < 0 || zip_set_file_compression(archive, position, method, 0) != 0 ||
        zip_file_set_dostime(archive, position, 0, firstDosDate, 0) != 0 ||
        zip_file_set_external_attributes(archive, position, 0, ZIP_OPSYS_UNIX, ordinaryFile) != 0) {
        failPacking(archive, name);
    }
}

void addEntry(zip_t* archive, const ArchiveEntry& entry) {
    SourcePtr source = makeSource(archive, entry);
    if (!source) {
        failPacking(archive, entry.name);
    }
    const zip_int64_t index =
        zip_file_add(archive, entry.name.c_str(), source.get(), ZIP_FL_ENC_UTF_8);
    if (index >= 0) {
        static_cast<void>(source.release());  // now owned by the archive
    }
    settle(archive, index, entry.name, entry.deflate);
}

FileDigest digestIn(zip_t* archive, const std::string& archivePath, const std::string& name,
                    const std::function<void(const char*, std::size_t)>& take) {
    const ZipFilePtr file(zip_fopen(archive, name.c_str(), 0));
    if (!file) {
        throw PackError("cannot read " + printable(name) + " in " + archivePath + ": " +
                        zip_strerror(archive));
    }
    Sha256 sha256;
    std::uint64_t length = 0;
    std::vector<char> chunk(256 * 1024);
    for (;;) {
        const zip_int64_t count = zip_fread(file.get(), chunk.data(), chunk.size());
        if (count < 0) {
            throw PackError("cannot read " + printable(name) + " in " + archivePath + ": " +
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
        if (take) {
            take(chunk.data(), static_cast<std::size_t>(count));
        }
    }
}

std::uint64_t expectedLength(const std::vector<ArchiveEntry>& entries) {
    std::uint64_t length = 0;
    for (const ArchiveEntry& entry : entries) {
        length += entry.expected ? entry.expected->length : 0;
    }
    return length;
}

void verifyEntries(const std::string& archivePath, const std::vector<ArchiveEntry>& entries,
                   const ProgressSink& progress) {
    // Opened once: that takes time proportional to the number of entries.
    const ArchivePtr archive = openArchive(archivePath, ZIP_RDONLY);
    Step step(progress, "verifying", expectedLength(entries));
    const auto advance = [&step](const char*, std::size_t size) { step.advance(size); };
    for (const ArchiveEntry& entry : entries) {
        if (entry.expected && digestIn(archive.get(), archivePath, entry.name, advance).sha256 !=
                                  entry.expected->sha256) {
            throw PackError(printable(entry.name) + " changed while it was packed");
        }
    }
}

// Writes the changes to disk.
void closeArchive(ArchivePtr archive, const std::string& path, const ProgressSink& progress) {
    zip_t* const handle = archive.get();
    zip_register_cancel_callback_with_state(
        handle, [](zip_t*, void*) { return interrupted() ? 1 : 0; }, nullptr, nullptr);
    if (progress) {
        zip_register_progress_callback_with_state(
            handle, 0.001,
            [](zip_t*, double share, void* sink) {
                (*static_cast<const ProgressSink*>(sink))(
                    "packing", static_cast<std::uint64_t>(share * 1000), 1000);
            },
            nullptr, const_cast<ProgressSink*>(&progress));
    }
    if (zip_close(handle) != 0) {
        failWriting(path, zip_strerror(handle));
    }
    static_cast<void>(archive.release());  // freed by zip_close
}

}  // namespace

void writeArchive(const std::string& path, const std::vector<ArchiveEntry>& entries,
                  const WriteOptions& options) {
    if (entries.empty()) {
        failWriting(path, "an archive needs an entry");
    }
    PendingFile pending(path);
    ArchivePtr archive = openArchive(pending.name(), ZIP_TRUNCATE);
    for (const ArchiveEntry& entry : entries) {
        addEntry(archive.get(), entry);
    }
    closeArchive(std::move(archive), path, options.progress);
    verifyEntries(pending.name(), entries, options.progress);
    if (options.accept) {
        options.accept(pending.name());
    }
    pending.moveIntoPlace();
}

void replaceEntry(const std::string& archivePath, const std::string& path, const std::string& name,
                  const std::string& content, const WriteOptions& options) {
    PendingFile pending(path);
    pending.copyFrom(archivePath);
    ArchivePtr archive = openArchive(pending.name(), 0);
    const zip_int64_t index = zip_name_locate(archive.get(), name.c_str(), 0);
    const ArchiveEntry replacement{name, content};  // read when the archive is closed
    SourcePtr source = makeSource(archive.get(), replacement);
    if (index < 0 || !source ||
        zip_file_replace(archive.get(), static_cast<zip_uint64_t>(index), source.get(), 0) != 0) {
        failPacking(archive.get(), name);
    }
    static_cast<void>(source.release());  // now owned by the archive
    settle(archive.get(), index, name, true);
    closeArchive(std::move(archive), path, options.progress);
    if (options.accept) {
        options.accept(pending.name());
    }
    pending.moveIntoPlace();
}

FileDigest digestEntry(const std::string& archivePath, const std::string& name) {
    const ArchivePtr archive = openArchive(archivePath, ZIP_RDONLY);
    return digestIn(archive.get(), archivePath, name, nullptr);
}

std::string readEntry(const std::string& archivePath, const std::string& name, std::size_t limit) {
    const ArchivePtr archive = openArchive(archivePath, ZIP_RDONLY);
    std::string bytes;
    digestIn(archive.get(), archivePath, name, [&](const char* data, std::size_t size) {
        if (bytes.size() + size > limit) {
            throw PackError(printable(name) + " in " + archivePath + " is too long");
        }
        bytes.append(data, size);
    });
    return bytes;
}

}  // namespace Norv::Corvane::Pack
