#include "Package.h"

#include "Archive.h"
#include "Check.h"
#include "Digest.h"
#include "Error.h"

namespace Norv::Corvane::Pack {

namespace {

std::vector<std::string> checkOrThrow(const Manifest& manifest) {
    Findings findings = check(manifest);
    std::string text;
    for (const std::string& error : findings.errors) {
        text += (text.empty() ? "" : "\n") + error;
    }
    if (!text.empty()) {
        throw PackError(text);
    }
    return findings.warnings;
}

}  // namespace

std::vector<std::string> buildPackage(PackageInput input, const Signer& signer,
                                      const std::string& output) {
    std::vector<ManifestFile>& files = input.manifest.files;
    if (files.size() != input.sources.size()) {
        throw PackError("a payload file has no source");
    }
    // Mistakes in the arguments come to light before minutes of hashing.
    checkOrThrow(input.manifest);
    for (std::size_t i = 0; i < files.size(); ++i) {
        const FileDigest digest = digestFile(input.sources[i]);
        files[i].hashValue = digest.sha256;
        files[i].length = digest.length;
    }
    std::vector<std::string> warnings = checkOrThrow(input.manifest);

    std::vector<ArchiveEntry> entries;
    entries.push_back({manifestEntryName, signer.sign(toXml(input.manifest)), true, {}});
    for (std::size_t i = 0; i < files.size(); ++i) {
        entries.push_back({files[i].localFilePath, SourceFile{input.sources[i]}, input.deflate,
                           FileDigest{files[i].hashValue, files[i].length}});
    }
    writeArchive(output, entries);
    return warnings;
}

}  // namespace Norv::Corvane::Pack
