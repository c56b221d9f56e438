// From a manifest without digests and a list of files to a package.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "Check.h"
#include "Manifest.h"
#include "Progress.h"
#include "Signature.h"

namespace Norv::Corvane::Pack {

struct PackageInput {
    // Digests and lengths of its files are filled in from `sources`.
    Manifest manifest;
    // Where the payload comes from: one path per file of the manifest, in the same order.
    std::vector<std::string> sources;
    bool deflate = true;
};

struct PackageOptions {
    Strictness strictness = Strictness::Lenient;
    ProgressSink progress = {};
    // Called with the name of the complete package before that replaces the output; may throw.
    std::function<void(const std::string& file)> accept = {};
};

// Checks, hashes, signs and packs. `output` is replaced by the complete package or left alone.
// Returns the warnings of `check`. Throws `PackError`, also when a payload file changes meanwhile;
// its text has one line per reason.
std::vector<std::string> buildPackage(PackageInput input, const Signer& signer,
                                      const std::string& output,
                                      const PackageOptions& options = {});

// The same with a signature that lacks its value; `toSign` receives the bytes to sign.
std::vector<std::string> preparePackage(PackageInput input, const SignatureForm& form,
                                        const std::string& output, std::string& toSign,
                                        const PackageOptions& options = {});

// The text of the package's manifest. Throws `PackError`.
std::string readManifest(const std::string& package);

// Writes a copy of the package with another text for its manifest and nothing else changed.
void replaceManifest(const std::string& package, const std::string& output,
                     const std::string& manifest, const PackageOptions& options = {});

}  // namespace Norv::Corvane::Pack
