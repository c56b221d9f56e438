// From a manifest without digests and a list of files to a signed package.

#pragma once

#include <string>
#include <vector>

#include "Manifest.h"
#include "Signature.h"

namespace Norv::Corvane::Pack {

struct PackageInput {
    // Digests and lengths of its files are filled in from `sources`.
    Manifest manifest;
    // Where the payload comes from: one path per file of the manifest, in the same order.
    std::vector<std::string> sources;
    bool deflate = true;
};

// Checks, hashes, signs and packs. `output` is replaced by the complete package or left alone.
// Returns the warnings of `check`. Throws `PackError`, also when a payload file changes meanwhile;
// its text has one line per reason.
std::vector<std::string> buildPackage(PackageInput input, const Signer& signer,
                                      const std::string& output);

}  // namespace Norv::Corvane::Pack
