// Writing zip archives, and reading back what was written.

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Digest.h"
#include "Progress.h"

namespace Norv::Corvane::Pack {

// Content that stays on disk until it is packed, and is never held in memory as a whole.
struct SourceFile {
    std::string path;
};

struct ArchiveEntry {
    // Full name in the archive, directory part included. UTF-8.
    std::string name;
    std::variant<std::string, SourceFile> content;
    // Stored as it is when false.
    bool deflate = true;
    // If engaged, the archive is read back, and refused if the entry holds something else. A source
    // file may have changed since its digest was taken.
    std::optional<FileDigest> expected = std::nullopt;
};

struct WriteOptions {
    ProgressSink progress = {};
    // Called with the name of the complete file before that replaces the output. If it throws, the
    // output stays as it was.
    std::function<void(const std::string& file)> accept = {};
};

// Writes the entries in their order; there must be at least one, and no name twice. The file
// appears at `path` complete and synced to disk, replacing a regular file, or not at all: it is
// written under another name in the same directory. Signals that would end the process take effect
// only after this temporary file is removed. Entries carry a fixed time and mode, so that equal
// input gives equal bytes. Throws `PackError`.
void writeArchive(const std::string& path, const std::vector<ArchiveEntry>& entries,
                  const WriteOptions& options = {});

// Writes a copy of the archive to `path` in which the entry `name` holds something else; all other
// entries keep their bytes, compressed as they are. Replaces `path` as `writeArchive` does. The two
// paths may be the same. Throws `PackError`.
void replaceEntry(const std::string& archivePath, const std::string& path, const std::string& name,
                  const std::string& content, const WriteOptions& options = {});

// Digest and uncompressed length of what the archive holds under `name`. Throws `PackError` when
// the archive cannot be opened, the entry is missing, or its data is damaged.
FileDigest digestEntry(const std::string& archivePath, const std::string& name);

// What the archive holds under `name`, at most `limit` bytes. Throws `PackError` likewise.
std::string readEntry(const std::string& archivePath, const std::string& name, std::size_t limit);

}  // namespace Norv::Corvane::Pack
