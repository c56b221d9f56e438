#include "Package.h"

#include "Archive.h"
#include "Digest.h"
#include "Error.h"

namespace Norv::Corvane::Pack {

namespace {

// What a device reads at most.
constexpr std::size_t manifestLimit = std::size_t{64} << 20U;

std::vector<std::string> checkOrThrow(const Manifest& manifest, Strictness strictness) {
    Findings findings = check(manifest, strictness);
    std::string text;
    for (const std::string& error : findings.errors) {
        text += (text.empty() ? "" : "\n") + error;
    }
    if (!text.empty()) {
        throw PackError(text);
    }
    return findings.warnings;
}

// Fills in digests and lengths. Finds mistakes before it spends minutes on hashing: first those in
// the arguments, then sizes that no device accepts.
std::vector<std::string> hashSources(PackageInput& input, const PackageOptions& options) {
    std::vector<ManifestFile>& files = input.manifest.files;
    if (files.size() != input.sources.size()) {
        throw PackError("a payload file has no source");
    }
    checkOrThrow(input.manifest, options.strictness);
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        files[i].length = sizeOfFile(input.sources[i]);
        total += files[i].length;
    }
    checkOrThrow(input.manifest, options.strictness);
    Step step(options.progress, "hashing", total);
    for (std::size_t i = 0; i < files.size(); ++i) {
        FileDigest digest = digestFile(input.sources[i], &step);
        files[i].hashValue = std::move(digest.sha256);
        files[i].length = digest.length;
    }
    return checkOrThrow(input.manifest, options.strictness);
}

void writePackage(const PackageInput& input, std::string manifest, const std::string& output,
                  const PackageOptions& options) {
    const std::vector<ManifestFile>& files = input.manifest.files;
    std::vector<ArchiveEntry> entries;
    entries.push_back({manifestEntryName, std::move(manifest), true, {}});
    for (std::size_t i = 0; i < files.size(); ++i) {
        entries.push_back({files[i].localFilePath, SourceFile{input.sources[i]}, input.deflate,
                           FileDigest{files[i].hashValue, files[i].length}});
    }
    writeArchive(output, entries, {options.progress, options.accept});
}

}  // namespace

std::vector<std::string> buildPackage(PackageInput input, const Signer& signer,
                                      const std::string& output, const PackageOptions& options) {
    std::vector<std::string> warnings = hashSources(input, options);
    writePackage(input, signer.sign(toXml(input.manifest)), output, options);
    return warnings;
}

std::vector<std::string> preparePackage(PackageInput input, const SignatureForm& form,
                                        const std::string& output, std::string& toSign,
                                        const PackageOptions& options) {
    std::vector<std::string> warnings = hashSources(input, options);
    std::string manifest = withEmptySignature(toXml(input.manifest), form);
    toSign = bytesToSign(manifest);
    writePackage(input, std::move(manifest), output, options);
    return warnings;
}

std::string readManifest(const std::string& package) {
    return readEntry(package, manifestEntryName, manifestLimit);
}

void replaceManifest(const std::string& package, const std::string& output,
                     const std::string& manifest, const PackageOptions& options) {
    replaceEntry(package, output, manifestEntryName, manifest, {options.progress, options.accept});
}

}  // namespace Norv::Corvane::Pack
