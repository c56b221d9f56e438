// Writing zip archives, and reading back what was written.

#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "Digest.h"

namespace Norv::Corvane::Pack {

// Content that stays on disk until it is packed; never held in memory as a whole.
struct SourceFile {
    std::string path;
};

struct ArchiveEntry {
    // Full name in the archive, directory part included. UTF-8.
    std::string name;
    std::variant<std::string, SourceFile> content;
    // Stored as it is when false.
    bool deflate = true;
    // When engaged: the archive is read back, and refused if the entry holds something else. A
    // source file may have changed since its digest was taken.
    std::optional<FileDigest> expected = std::nullopt;
};

// Writes the entries in their order; at least one, no name twice. The file appears under `path`
// complete and synced to disk, replacing a regular file, or not at all: the work is done under
// another name in the same directory. Signals that would end the process take effect once that file
// is gone. Entries carry a fixed time, so that equal input gives equal bytes. Throws `PackError`.
void writeArchive(const std::string& path, const std::vector<ArchiveEntry>& entries);

// Digest and uncompressed length of what the archive holds under `name`. Throws `PackError` when
// the archive cannot be opened, the entry is missing, or its data is damaged.
FileDigest digestEntry(const std::string& archivePath, const std::string& name);

}  // namespace Norv::Corvane::Pack
