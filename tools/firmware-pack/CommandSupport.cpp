#include "CommandSupport.h"

#include <iostream>
#include <sstream>

#include "Commands.h"
#include "Digest.h"
#include "Text.h"

namespace Norv::Corvane::Pack {

void report(const char* severity, const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::cerr << "firmware-pack: " << severity << ": " << printable(line) << '\n';
    }
}

void reportAll(const char* severity, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) {
        report(severity, text);
    }
}

void printClosingLine(const Options& options, const std::string& path, const std::string& version,
                      std::size_t files) {
    if (options.quiet) {
        return;
    }
    const FileDigest digest = digestFile(path);
    std::cout << printable(baseName(path)) << ": version " << printable(version) << ", "
              << counted(files, "file") << ", " << humanSize(digest.length) << ", SHA-256 "
              << toHex(digest.sha256) << '\n'
              << std::flush;
}

}  // namespace Norv::Corvane::Pack
