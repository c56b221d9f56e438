#include "Check.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <set>

#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/Version.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

using Ombrel::Project::DeviceType;
using Ombrel::Project::Version;

// The longest name that Linux allows, and a path that leaves room for the target directory. With a
// longer one, the state of a directory cannot be determined, which ends the installing process.
constexpr std::size_t maximumName = 255;
constexpr std::size_t maximumPath = 4000;

// Devices count lengths and progress in 32 bits.
constexpr std::uint64_t maximumLength = std::numeric_limits<std::uint32_t>::max();

bool endsWith(const std::string& text, const std::string& suffix) {
    return text.size() >= suffix.size() &&
           text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool hasParentComponent(const std::string& path) {
    const std::filesystem::path parts(path);
    return std::find(parts.begin(), parts.end(), "..") != parts.end();
}

bool isTooLong(const std::string& path) {
    const std::filesystem::path parts(path);
    return path.size() > maximumPath ||
           std::any_of(parts.begin(), parts.end(), [](const std::filesystem::path& part) {
               return part.native().size() > maximumName;
           });
}

void checkVersion(const char* name, const std::string& text, Findings& findings) {
    const std::optional<Version> version = Version::parse(text);
    // Devices ignore text after the fourth number, which hides mistakes.
    if (!version || to_string(*version) != text) {
        findings.errors.push_back(std::string(name) + " " + inQuotes(text) +
                                  " is not of the form 1.2.3.4");
    }
}

void checkLocalPath(const ManifestFile& file, std::set<std::string>& seen, Findings& findings) {
    const std::string& path = file.localFilePath;
    if (path.empty()) {
        findings.errors.push_back("the local path of " + inQuotes(file.remoteFilePath) +
                                  " is empty");
    } else if (path == manifestEntryName) {
        findings.errors.push_back("the local path " + inQuotes(path) +
                                  " is the manifest's own name");
    } else if (path.front() == '/' || path.back() == '/' || hasParentComponent(path)) {
        findings.errors.push_back("the local path " + inQuotes(path) +
                                  " is not a plain relative file name");
    } else if (!seen.insert(path).second) {
        findings.errors.push_back("the local path " + inQuotes(path) + " is used twice");
    }
}

void checkRemotePath(const ManifestFile& file, Findings& findings) {
    const std::string& path = file.remoteFilePath;
    if (path.empty()) {
        findings.errors.push_back("the remote path of " + inQuotes(file.localFilePath) +
                                  " is empty");
    } else if (path.back() == '/' || std::filesystem::path(path).filename() == ".") {
        findings.errors.push_back("the remote path " + inQuotes(path) + " names a directory");
    } else if (isTooLong(path)) {
        findings.errors.push_back("the remote path " + inQuotes(path) + " is too long");
    } else if (hasParentComponent(path)) {
        findings.errors.push_back("the remote path " + inQuotes(path) +
                                  " leads out of the target directory");
    }
}

void checkScript(const ManifestFile& file, std::vector<std::string>& findings) {
    const std::string& path = file.remoteFilePath;
    if (file.kind != PayloadKind::Script) {
        return;
    }
    if (!endsWith(path, "Script.run")) {
        findings.push_back("the script " + inQuotes(path) +
                           " is installed but not run: its remote path does not end in "
                           "Script.run");
    } else if (path.find_first_of(" \"") != std::string::npos) {
        findings.push_back("the script " + inQuotes(path) +
                           " cannot be run: its remote path holds a blank or a quote");
    }
}

// The path as an installation sees it: below the target directory, redundant parts removed.
std::string installedPath(const std::string& remotePath) {
    return std::filesystem::path(remotePath).relative_path().lexically_normal().string();
}

// A path that is installed twice, or both as a file and as a directory.
void checkOverlap(const Manifest& manifest, Findings& findings) {
    std::set<std::string> paths;
    for (const ManifestFile& file : manifest.files) {
        if (!paths.insert(installedPath(file.remoteFilePath)).second) {
            findings.errors.push_back("the remote path " + inQuotes(file.remoteFilePath) +
                                      " is used twice");
        }
    }
    for (const std::string& path : paths) {
        std::filesystem::path parent = std::filesystem::path(path).parent_path();
        for (; !parent.empty(); parent = parent.parent_path()) {
            if (paths.count(parent.string()) != 0) {
                findings.errors.push_back("the remote path " + inQuotes(parent.string()) +
                                          " is a file and the directory of " + inQuotes(path));
            }
        }
    }
}

void checkLengths(const Manifest& manifest, Findings& findings) {
    std::uint64_t total = 0;
    for (const ManifestFile& file : manifest.files) {
        if (file.length > maximumLength) {
            findings.errors.push_back(inQuotes(file.localFilePath) + " is longer than 4 GiB");
        }
        total += file.length;
    }
    if (total > maximumLength) {
        findings.errors.push_back("the payload as a whole is longer than 4 GiB");
    }
}

void checkHwRevs(const Manifest& manifest, Findings& findings) {
    std::set<std::string> seen;
    for (const std::string& hwRev : manifest.supportedHwRevs) {
        if (hwRev.empty()) {
            findings.errors.emplace_back("a hardware revision is empty");
        } else if (!seen.insert(hwRev).second) {
            findings.errors.push_back("the hardware revision " + inQuotes(hwRev) +
                                      " is given twice");
        }
    }
}

}  // namespace

Findings check(const Manifest& manifest, Strictness strictness) {
    Findings findings;
    if (!DeviceType::parse(manifest.manufacturerId, manifest.modelId, std::nullopt)) {
        findings.errors.push_back("manufacturer " + inQuotes(manifest.manufacturerId) + ", model " +
                                  inQuotes(manifest.modelId) + " is no known device");
    }
    checkVersion("version", manifest.version, findings);
    checkVersion("system version", manifest.systemVersion, findings);
    checkVersion("application version", manifest.applicationVersion, findings);
    checkHwRevs(manifest, findings);
    if (manifest.files.empty()) {
        findings.warnings.emplace_back("the package holds no payload file");
    }
    std::set<std::string> localPaths;
    for (const ManifestFile& file : manifest.files) {
        checkLocalPath(file, localPaths, findings);
        checkRemotePath(file, findings);
        checkScript(file, strictness == Strictness::Lenient ? findings.warnings : findings.errors);
    }
    checkOverlap(manifest, findings);
    checkLengths(manifest, findings);
    if (strictness == Strictness::Strict) {
        findings.errors.insert(findings.errors.end(), findings.warnings.begin(),
                               findings.warnings.end());
        findings.warnings.clear();
    }
    return findings;
}

}  // namespace Norv::Corvane::Pack
