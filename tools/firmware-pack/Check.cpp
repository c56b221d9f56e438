#include "Check.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <set>

#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/Version.h"

namespace Norv::Corvane::Pack {

namespace {

using Ombrel::Project::DeviceType;
using Ombrel::Project::Version;

// What Linux takes as one name, and as a path, of which the target directory needs a part. Below a
// longer one the state of a directory cannot be told, which ends the installing process.
constexpr std::size_t maximumName = 255;
constexpr std::size_t maximumPath = 4000;

// Devices count lengths and progress in 32 bits.
constexpr std::uint64_t maximumLength = std::numeric_limits<std::uint32_t>::max();

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

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
        findings.errors.push_back(std::string(name) + " " + quoted(text) +
                                  " is not of the form 1.2.3.4");
    }
}

void checkLocalPath(const ManifestFile& file, std::set<std::string>& seen, Findings& findings) {
    const std::string& path = file.localFilePath;
    if (path.empty()) {
        findings.errors.push_back("the local path of " + quoted(file.remoteFilePath) + " is empty");
    } else if (path == manifestEntryName) {
        findings.errors.push_back("the local path " + quoted(path) + " is the manifest's own name");
    } else if (path.front() == '/' || path.back() == '/' || hasParentComponent(path)) {
        findings.errors.push_back("the local path " + quoted(path) +
                                  " is not a plain relative file name");
    } else if (!seen.insert(path).second) {
        findings.errors.push_back("the local path " + quoted(path) + " is used twice");
    }
}

void checkRemotePath(const ManifestFile& file, Findings& findings) {
    const std::string& path = file.remoteFilePath;
    if (path.empty()) {
        findings.errors.push_back("the remote path of " + quoted(file.localFilePath) + " is empty");
    } else if (path.back() == '/' || std::filesystem::path(path).filename() == ".") {
        findings.errors.push_back("the remote path " + quoted(path) + " names a directory");
    } else if (isTooLong(path)) {
        findings.errors.push_back("the remote path " + quoted(path) + " is too long");
    } else if (hasParentComponent(path)) {
        findings.errors.push_back("the remote path " + quoted(path) +
                                  " leads out of the target directory");
    }
    if (file.kind != PayloadKind::Script) {
        return;
    }
    if (!endsWith(path, "Script.run")) {
        findings.warnings.push_back("the script " + quoted(path) +
                                    " is installed but not run: its remote path does not end in "
                                    "Script.run");
    } else if (path.find_first_of(" \"") != std::string::npos) {
        findings.warnings.push_back("the script " + quoted(path) +
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
            findings.errors.push_back("the remote path " + quoted(file.remoteFilePath) +
                                      " is used twice");
        }
    }
    for (const std::string& path : paths) {
        std::filesystem::path parent = std::filesystem::path(path).parent_path();
        for (; !parent.empty(); parent = parent.parent_path()) {
            if (paths.count(parent.string()) != 0) {
                findings.errors.push_back("the remote path " + quoted(parent.string()) +
                                          " is a file and the directory of " + quoted(path));
            }
        }
    }
}

void checkLengths(const Manifest& manifest, Findings& findings) {
    std::uint64_t total = 0;
    for (const ManifestFile& file : manifest.files) {
        if (file.length > maximumLength) {
            findings.errors.push_back(quoted(file.localFilePath) + " is longer than 4 GiB");
        }
        total += file.length;
    }
    if (total > maximumLength) {
        findings.errors.push_back("the payload as a whole is longer than 4 GiB");
    }
}

}  // namespace

Findings check(const Manifest& manifest) {
    Findings findings;
    if (!DeviceType::parse(manifest.manufacturerId, manifest.modelId, std::nullopt)) {
        findings.errors.push_back("manufacturer " + quoted(manifest.manufacturerId) + ", model " +
                                  quoted(manifest.modelId) + " is no known device");
    }
    checkVersion("version", manifest.version, findings);
    checkVersion("system version", manifest.systemVersion, findings);
    checkVersion("application version", manifest.applicationVersion, findings);
    const std::vector<std::string>& hwRevs = manifest.supportedHwRevs;
    if (std::find(hwRevs.begin(), hwRevs.end(), "") != hwRevs.end()) {
        findings.errors.emplace_back("a hardware revision is empty");
    }
    if (manifest.files.empty()) {
        findings.warnings.emplace_back("the package holds no payload file");
    }
    std::set<std::string> localPaths;
    for (const ManifestFile& file : manifest.files) {
        checkLocalPath(file, localPaths, findings);
        checkRemotePath(file, findings);
    }
    checkOverlap(manifest, findings);
    checkLengths(manifest, findings);
    return findings;
}

}  // namespace Norv::Corvane::Pack
