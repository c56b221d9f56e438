// Finds the payload that a folder or a pattern stands for.

#pragma once

#include <string>
#include <vector>

namespace Norv::Corvane::Pack {

struct FoundFile {
    std::string path;
    // Below the folder, or below the last folder of the pattern that has no wildcard.
    std::string relative;
};

// All files below the folder, hidden ones included, sorted by the bytes of their paths. A link to a
// file counts as that file. Throws `PackError` for anything that cannot be packed (a link to a
// folder, a device), when a folder cannot be read, and when there is no file.
std::vector<FoundFile> filesBelow(const std::string& folder);

// The files whose paths match, sorted likewise. A wildcard matches no slash and no leading dot;
// folders are left out. Throws `PackError` when there is no file.
std::vector<FoundFile> filesMatching(const std::string& pattern);

}  // namespace Norv::Corvane::Pack
