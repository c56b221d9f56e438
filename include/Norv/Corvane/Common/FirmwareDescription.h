// The manifest of a firmware package: what it is for, and which files it brings.
//
// Plain records that own their contents. The free functions build them from an XML tree that is
// already loaded; they have no side effects, do not keep the nodes, and throw only when memory
// runs out. Malformed input is an empty optional or an error code.

#pragma once

#include <boost/optional.hpp>
#include <boost/utility/string_view.hpp>
#include <boost/variant.hpp>
#include <cstdint>
#include <pugixml.hpp>
#include <string>
#include <system_error>
#include <vector>

#include "Norv/Export.h"
#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/Version.h"

namespace Norv::Corvane::Common {

enum class FileKind {
    // A shell script: installed, and run afterwards if its path ends in "Script.run".
    Script = 0,
    // Installed and left alone.
    Firmware = 1,
};

enum class HashAlgorithm {
    SHA256 = 0,
};

struct FirmwareDescription {
    // One payload file.
    struct File {
        FileKind kind = FileKind::Firmware;
        HashAlgorithm hashAlgorithm = HashAlgorithm::SHA256;
        // Name of the entry inside the archive.
        std::string localFilePath;
        // Where to install the file, below the target directory; none when that is `localFilePath`.
        // Engaged but empty when the manifest does not say. That names the target directory itself:
        // writing it fails if it exists, and otherwise makes a file in its place.
        boost::optional<std::string> remoteFilePath;
        // Expected digest, raw bytes. Only the algorithm's own length can match.
        std::vector<std::uint8_t> hashValue;
        // In bytes, as the manifest states it; only the digest decides whether the content is
        // right.
        std::uint32_t length = 0;
    };

    Norv::Ombrel::Project::DeviceType deviceType = Norv::Ombrel::Project::DeviceType::Type::None;
    // Of the whole package, of its system part and of its application part.
    Norv::Ombrel::Project::Version version;
    Norv::Ombrel::Project::Version systemVersion;
    Norv::Ombrel::Project::Version applicationVersion;
    std::vector<std::string> supportedHwRevs;
    // In document order, which is the order of installation.
    std::vector<File> files;
    // Sum of `File::length` in bytes; wraps modulo 2^32.
    std::uint32_t totalLength = 0;
};

// "ScriptFileType" or "FirmwareFileType", exactly.
NORV_EXPORT boost::optional<FileKind> parseFileKind(boost::string_view text);

// "sha256", exactly.
NORV_EXPORT boost::optional<HashAlgorithm> parseHashAlgorithm(boost::string_view text);

// One child of the "Files" element; its own name does not matter. Empty when the kind, the hash
// algorithm or the length is not understood, or the local path is empty.
NORV_EXPORT boost::optional<FirmwareDescription::File> parseFile(pugi::xml_node entry);

// `description` is the "FirmwareDescription" element itself. File entries that `parseFile` rejects
// are silently skipped; an unknown device gives `DeviceType::Type::None`. The error, if any, is a
// `ParseFirmwareDescriptionError`.
NORV_EXPORT boost::variant<FirmwareDescription, std::error_code> parseFirmwareDescription(
    pugi::xml_node description);

}  // namespace Norv::Corvane::Common
