// What a package holds, as a device would read it. Nothing in it is trusted.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Progress.h"

namespace Norv::Corvane::Pack {

enum class Match { Yes, No, Missing, Unreadable };

// One file of the manifest, and the entry that it names.
struct InspectedFile {
    Common::FirmwareDescription::File stated;
    Match match = Match::Missing;
    // Of the entry; none when it is missing.
    std::optional<std::uint64_t> size;
    std::optional<std::uint64_t> storedSize;
};

struct InspectedEntry {
    std::string name;
    std::uint64_t size = 0;
    std::uint64_t storedSize = 0;
};

struct InspectedSignature {
    std::string canonicalization;
    std::string method;
    std::vector<std::string> digests;
    bool hasValue = false;
    std::optional<std::string> signingTime;
    // Names, subjects and fingerprints that the signature gives for its key. A device reads none.
    std::vector<std::string> keyHints;
};

struct Verdict {
    bool genuine = false;
    std::string reason;
};

struct Inspection {
    std::string path;
    std::uint64_t size = 0;
    std::vector<std::uint8_t> sha256;
    // Why a device would not get as far as the description, whoever signed it.
    std::optional<std::string> manifestError;
    std::string manufacturer;
    std::string model;
    // Engaged unless there is a `manifestError`.
    std::optional<Common::FirmwareDescription> description;
    std::vector<InspectedFile> files;
    // Archive names of files in the manifest that a device silently skips, because it does not
    // understand their attributes.
    std::vector<std::string> ignoredFiles;
    // Entries of the archive that the manifest does not list.
    std::vector<InspectedEntry> unlistedEntries;
    std::optional<InspectedSignature> signature;
    // Engaged when a certificate was given.
    std::optional<Verdict> verdict;
};

// Throws `PackError` when the file is no zip archive or cannot be read.
Inspection inspectPackage(const std::string& path, const ProgressSink& progress);

// Neither holds a byte that a terminal obeys, whatever the package holds. The JSON is ASCII and has
// the form that firmware-package(5) describes.
std::string toText(const Inspection& inspection);
std::string toJson(const Inspection& inspection);

}  // namespace Norv::Corvane::Pack
