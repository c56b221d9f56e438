#include "SourceFiles.h"

#include <glob.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include "Error.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void failReading(const std::string& path, const std::string& reason) {
    throw PackError("cannot read " + printable(path) + ": " + reason);
}

// Sorted by bytes, so that neither the locale nor the file system's order matters.
std::vector<FoundFile> sorted(std::vector<FoundFile> files) {
    std::sort(files.begin(), files.end(),
              [](const FoundFile& a, const FoundFile& b) { return a.path < b.path; });
    return files;
}

void collect(const std::string& folder, const std::string& prefix, std::vector<FoundFile>& files) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const std::string path = entry->path().string();
        const std::string relative = prefix + entry->path().filename().string();
        std::error_code failure;
        const bool link = entry->is_symlink(failure);
        const fs::file_status status = entry->status(failure);
        if (fs::is_directory(status) && !link) {
            collect(path, relative + "/", files);
        } else if (fs::is_regular_file(status)) {
            files.push_back({path, relative});
        } else if (fs::is_directory(status)) {
            failReading(path, "a link to a folder");
        } else {
            failReading(path, fs::exists(status) ? "not a regular file" : "a link to nothing");
        }
    }
    if (error) {
        failReading(folder, error.message());
    }
}

struct FreeGlob {
    void operator()(glob_t* found) const { ::globfree(found); }
};

// The part of the pattern up to the last slash before its first wildcard.
std::size_t fixedPart(const std::string& pattern) {
    const std::size_t wildcard = std::min(pattern.find_first_of("*?["), pattern.size());
    const std::size_t slash = pattern.rfind('/', wildcard);
    return slash == std::string::npos ? 0 : slash + 1;
}

}  // namespace

std::vector<FoundFile> filesBelow(const std::string& folder) {
    std::error_code error;
    if (!fs::is_directory(folder, error)) {
        failReading(folder, error ? error.message() : "not a folder");
    }
    std::vector<FoundFile> files;
    collect(folder, "", files);
    if (files.empty()) {
        throw PackError("the folder " + printable(folder) + " holds no file");
    }
    return sorted(std::move(files));
}

std::vector<FoundFile> filesMatching(const std::string& pattern) {
    glob_t result{};
    const int status = ::glob(pattern.c_str(), GLOB_NOSORT | GLOB_ERR, nullptr, &result);
    const std::unique_ptr<glob_t, FreeGlob> owner(&result);
    if (status != 0 && status != GLOB_NOMATCH) {
        failReading(pattern, "a folder on the way cannot be read");
    }
    std::vector<FoundFile> files;
    const std::size_t fixed = fixedPart(pattern);
    for (std::size_t i = 0; i < result.gl_pathc; ++i) {
        const std::string path = result.gl_pathv[i];
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            files.push_back({path, path.substr(fixed)});
        }
    }
    if (files.empty()) {
        throw PackError("no file matches " + printable(pattern));
    }
    return sorted(std::move(files));
}

}  // namespace Norv::Corvane::Pack
