// The manifest of a package as its author states it, and its XML form.
//
// Nothing is checked here: a manifest that no device would accept is written as it stands, so that
// the tests can make such manifests, too. `check` in Check.h finds the mistakes.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Norv::Corvane::Pack {

enum class PayloadKind { Script, Firmware };

struct ManifestFile {
    PayloadKind kind = PayloadKind::Firmware;
    // Name of the entry in the archive.
    std::string localFilePath;
    // Path below the target directory of the installation.
    std::string remoteFilePath;
    // Raw SHA-256 digest.
    std::vector<std::uint8_t> hashValue;
    // In bytes. A device reads 32 bits of it.
    std::uint64_t length = 0;
};

struct Manifest {
    std::string manufacturerId;
    std::string modelId;
    std::string version;
    std::string systemVersion;
    std::string applicationVersion;
    std::vector<std::string> supportedHwRevs;
    std::vector<ManifestFile> files;
};

// Name of the manifest's entry in the archive.
inline constexpr char manifestEntryName[] = "FirmwareDescription.xml";

// The unsigned XML document in UTF-8. Markup characters in values are escaped.
std::string toXml(const Manifest& manifest);

}  // namespace Norv::Corvane::Pack
