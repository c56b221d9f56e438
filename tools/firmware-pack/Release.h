// What a release consists of, as its author states it: in a file, in arguments, or in both.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Package.h"

namespace Norv::Corvane::Pack {

// One statement about payload. It stands for one file, or for several in the order of their names.
struct PayloadRule {
    enum class Kind {
        // One file that is installed.
        File,
        // One script.
        Script,
        // Every file below a folder.
        Folder,
        // Every file whose path matches a pattern with "*", "?" and "[...]".
        Pattern,
    };
    Kind kind = Kind::File;
    std::string source;
    // Path below the target directory; for a folder or pattern, the prefix of its paths.
    std::string target;
    // Name in the archive, likewise. Engaged, or the target without a leading slash.
    std::optional<std::string> name = std::nullopt;
};

// Only what was stated is engaged.
struct Release {
    std::optional<std::string> key;
    std::optional<std::string> certificate;
    std::optional<std::string> output;
    std::optional<std::string> manufacturer;
    std::optional<std::string> model;
    std::optional<std::string> version;
    std::optional<std::string> systemVersion;
    std::optional<std::string> applicationVersion;
    std::optional<std::vector<std::string>> hwRevs;
    std::optional<std::vector<PayloadRule>> payload;
    std::optional<bool> compress;
    std::optional<bool> includeCertificate;
};

// What `first` states, and what only `second` states.
Release overlay(Release first, const Release& second);

// The package that a release describes. Looks for the files of its folders and patterns. Throws
// `PackError`, also for a folder or pattern that gives no file. The versions and the device must be
// stated.
PackageInput expand(const Release& release);

}  // namespace Norv::Corvane::Pack
