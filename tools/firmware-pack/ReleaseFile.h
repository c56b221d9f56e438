// Reads a release from a TOML file.

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Release.h"

namespace Norv::Corvane::Pack {

// One key of the file, for its manual page.
struct ReleaseKey {
    const char* name;
    const char* type;
    const char* text;
};
const std::vector<ReleaseKey>& releaseKeys();
// The keys of one [[payload]] table.
const std::vector<ReleaseKey>& payloadKeys();

// Paths in the file are relative to its folder. Throws `PackError` for a file that cannot be read,
// that is no TOML, and for a key that is unknown or has a wrong value; the text names file, line
// and key.
Release readReleaseFile(const std::string& path);

// The same for text in memory; `path` says where it comes from.
Release parseRelease(std::string_view text, const std::string& path);

}  // namespace Norv::Corvane::Pack
