#include "Payload.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>
#include <vector>

#include "HostError.h"
#include "ProgressDisplay.h"

using Norv::Corvane::Common::FirmwareDescription;
using Norv::Corvane::Common::ValidatedFirmwareZip;

namespace {

void checkFile(const ValidatedFirmwareZip& firmware, const FirmwareDescription::File& file) {
    bool matches = false;
    zip_uint64_t size = 0;
    try {
        matches = firmware.package.validate(file);
        // By now the entry was read to its end, and libzip has compared this size with the real
        // one.
        size = firmware.package.archive().stat(file.localFilePath).size;
    } catch (const std::runtime_error& error) {
        throw HostError("cannot read " + file.localFilePath + ": " + error.what());
    }
    if (!matches) {
        throw HostError(file.localFilePath + " is damaged");
    }
    if (size != file.length) {
        throw HostError(file.localFilePath + " has " + std::to_string(size) +
                        " bytes, the manifest states " + std::to_string(file.length));
    }
}

bool sameContent(libzip::file entry, std::ifstream& installed) {
    constexpr std::size_t chunk = std::size_t{256} << 10;
    std::vector<char> ours(chunk);
    std::vector<char> theirs(chunk);
    for (;;) {
        const auto count = static_cast<std::ptrdiff_t>(entry.read(ours.data(), chunk));
        installed.read(theirs.data(), std::max<std::ptrdiff_t>(count, 1));
        if (count <= 0) {
            return count == 0 && installed.gcount() == 0;
        }
        if (installed.gcount() != count ||
            !std::equal(ours.begin(), ours.begin() + count, theirs.begin())) {
            return false;
        }
    }
}

}  // namespace

std::uint64_t payloadBytes(const FirmwareDescription& description) {
    std::uint64_t total = 0;
    for (const FirmwareDescription::File& file : description.files) {
        total += file.length;
    }
    return total;
}

std::string payloadSummary(const FirmwareDescription& description) {
    const std::size_t count = description.files.size();
    return std::to_string(count) + (count == 1 ? " file, " : " files, ") +
           formatBytes(payloadBytes(description));
}

const std::string& installationPath(const FirmwareDescription::File& file) {
    return file.remoteFilePath ? *file.remoteFilePath : file.localFilePath;
}

void checkPayload(const ValidatedFirmwareZip& firmware) {
    for (const FirmwareDescription::File& file : firmware.description.files) {
        checkFile(firmware, file);
    }
}

FileState compareFile(const ValidatedFirmwareZip& firmware, const FirmwareDescription::File& file,
                      const std::string& target) {
    const std::string path = target + '/' + installationPath(file);
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT) {
            return FileState::New;
        }
        throw HostError("cannot install " + path + ": " + std::generic_category().message(errno));
    }
    if (S_ISDIR(status.st_mode)) {
        throw HostError("cannot install " + path + ": " + std::generic_category().message(EISDIR));
    }
    if (!S_ISREG(status.st_mode) || static_cast<std::uint64_t>(status.st_size) != file.length) {
        return FileState::Changed;
    }
    std::ifstream installed(path, std::ios::binary);
    if (!installed) {
        throw HostError("cannot read " + path + ": " + std::generic_category().message(errno));
    }
    const bool same = sameContent(firmware.package.archive().open(file.localFilePath), installed);
    return same ? FileState::Same : FileState::Changed;
}
