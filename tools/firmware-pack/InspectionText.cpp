#include <fmt/format.h>

#include <algorithm>

#include "Inspection.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

void addLine(std::string& text, const char* label, const std::string& value) {
    text += fmt::format("{:<22}{}\n", label, value);
}

const char* verdictOf(Match match) {
    switch (match) {
        case Match::Yes:
            return "matches";
        case Match::No:
            return "DIFFERS";
        case Match::Missing:
            return "MISSING";
        case Match::Unreadable:
            return "UNREADABLE";
    }
    return "";
}

// What a reader knows an algorithm by: the end of its URI.
std::string shortName(const std::string& uri) {
    const std::string::size_type at = uri.find_last_of("#/");
    const bool whole = at == std::string::npos || at + 1 == uri.size();
    return uri.empty() ? "none" : printable(whole ? uri : uri.substr(at + 1));
}

void addSignature(std::string& text, const std::optional<InspectedSignature>& signature) {
    if (!signature) {
        addLine(text, "Signature", "none");
        return;
    }
    std::vector<std::string> digests;
    for (const std::string& digest : signature->digests) {
        digests.push_back(shortName(digest));
    }
    addLine(text, "Signature",
            shortName(signature->method) + ", digest " +
                (digests.empty() ? "none" : enumeration(digests)) +
                (signature->hasValue ? "" : ", WITHOUT A VALUE"));
    addLine(text, "Canonicalization", printable(signature->canonicalization));
    if (signature->signingTime) {
        addLine(text, "Signing time", printable(*signature->signingTime));
    }
    for (const std::string& hint : signature->keyHints) {
        addLine(text, "Key hint", printable(hint));
    }
}

void addDescription(std::string& text, const Inspection& inspection) {
    if (inspection.manifestError) {
        addLine(text, "Manifest", "cannot be read: " + printable(*inspection.manifestError));
        return;
    }
    const Common::FirmwareDescription& description = *inspection.description;
    const bool known = description.deviceType.type != Norv::Ombrel::Project::DeviceType::Type::None;
    addLine(text, "Device",
            printable(inspection.manufacturer) + " " + printable(inspection.model) +
                (known ? "" : " (unknown)"));
    addLine(text, "Version", to_string(description.version));
    addLine(text, "System version", to_string(description.systemVersion));
    addLine(text, "Application version", to_string(description.applicationVersion));
    std::string revisions;
    for (const std::string& revision : description.supportedHwRevs) {
        revisions += (revisions.empty() ? "" : ", ") + printable(revision);
    }
    addLine(text, "Hardware revisions", revisions.empty() ? "none" : revisions);
}

std::string sizeText(const std::optional<std::uint64_t>& size) {
    return size ? std::to_string(*size) : "-";
}

void addFiles(std::string& text, const std::vector<InspectedFile>& files) {
    if (files.empty()) {
        return;
    }
    text += fmt::format("\n{:<9}{:>11} {:>11} {:>11}  {:<11}{}\n", "KIND", "LENGTH", "SIZE",
                        "STORED", "DIGEST", "NAME -> TARGET");
    for (const InspectedFile& file : files) {
        const auto& stated = file.stated;
        text += fmt::format("{:<9}{:>11} {:>11} {:>11}  {:<11}{} -> {}\n         SHA-256 {}\n",
                            stated.kind == Common::FileKind::Script ? "script" : "firmware",
                            stated.length, sizeText(file.size), sizeText(file.storedSize),
                            verdictOf(file.match), printable(stated.localFilePath),
                            printable(stated.remoteFilePath.value_or(stated.localFilePath)),
                            toHex(stated.hashValue));
    }
}

}  // namespace

std::string toText(const Inspection& inspection) {
    std::string text;
    addLine(text, "Package", printable(inspection.path));
    addLine(text, "Size", fmt::format("{} bytes", inspection.size));
    addLine(text, "SHA-256", toHex(inspection.sha256));
    addDescription(text, inspection);
    addSignature(text, inspection.signature);
    if (inspection.verdict) {
        const Verdict& verdict = *inspection.verdict;
        addLine(text, "Verdict", verdict.genuine ? "genuine" : printable(verdict.reason));
    }
    addFiles(text, inspection.files);
    if (!inspection.ignoredFiles.empty()) {
        text += "\nIn the manifest, left out by devices:\n";
    }
    for (const std::string& name : inspection.ignoredFiles) {
        text += "  " + inQuotes(name) + "\n";
    }
    if (!inspection.unlistedEntries.empty()) {
        text += "\nIn the archive, not in the manifest:\n";
    }
    for (const InspectedEntry& entry : inspection.unlistedEntries) {
        text += fmt::format("  {} ({} bytes, {} stored)\n", inQuotes(entry.name), entry.size,
                            entry.storedSize);
    }
    return text;
}

}  // namespace Norv::Corvane::Pack
