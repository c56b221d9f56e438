#include "Norv/Corvane/Common/FirmwareDescription.h"

#include <tessary/DecodeBase64.h>

#include <boost/lexical_cast/try_lexical_convert.hpp>
#include <utility>

#include "Norv/Corvane/Common/ErrorCodes.h"

namespace Norv::Corvane::Common {
namespace {

using Norv::Ombrel::Project::DeviceType;
using Norv::Ombrel::Project::Version;

std::vector<std::uint8_t> decodeDigest(const std::string& encoded) {
    std::string decoded;
    // Malformed text needs no report here: what it decodes to is compared with the file's digest.
    static_cast<void>(DecodeBase64(encoded, decoded));
    return {decoded.begin(), decoded.end()};
}

boost::optional<Version> versionOf(pugi::xml_node description, const char* element) {
    const auto version = Version::parse(description.child(element).attribute("Value").value());
    return version ? boost::make_optional(*version) : boost::none;
}

std::vector<std::string> supportedHwRevsOf(pugi::xml_node description) {
    std::vector<std::string> revisions;
    for (const pugi::xml_node revision : description.child("SupportedHwRevs").children("HwRev")) {
        revisions.emplace_back(revision.attribute("Value").value());
    }
    return revisions;
}

}  // namespace

boost::optional<FileKind> parseFileKind(boost::string_view text) {
    if (text == "ScriptFileType") {
        return FileKind::Script;
    }
    if (text == "FirmwareFileType") {
        return FileKind::Firmware;
    }
    return boost::none;
}

boost::optional<HashAlgorithm> parseHashAlgorithm(boost::string_view text) {
    if (text == "sha256") {
        return HashAlgorithm::SHA256;
    }
    return boost::none;
}

boost::optional<FirmwareDescription::File> parseFile(pugi::xml_node entry) {
    const auto kind = parseFileKind(entry.attribute("xsi:type").value());
    const auto hashAlgorithm = parseHashAlgorithm(entry.attribute("HashAlgorithm").value());

    FirmwareDescription::File file;
    file.localFilePath = entry.attribute("LocalFilePath").value();
    std::string remoteFilePath = entry.attribute("RemoteFilePath").value();
    file.hashValue = decodeDigest(entry.attribute("HashValue").value());
    // Accepts whatever the conversion accepts, even a sign: "-1" is 4294967295.
    const bool lengthRead =
        boost::conversion::try_lexical_convert(entry.attribute("Length").value(), file.length);

    if (!lengthRead || !kind || file.localFilePath.empty() || !hashAlgorithm) {
        return boost::none;
    }
    file.kind = *kind;
    file.hashAlgorithm = *hashAlgorithm;
    if (remoteFilePath != file.localFilePath) {
        file.remoteFilePath = std::move(remoteFilePath);
    }
    return file;
}

boost::variant<FirmwareDescription, std::error_code> parseFirmwareDescription(
    pugi::xml_node description) {
    using Error = ParseFirmwareDescriptionError;

    const auto manufacturer = description.child("ManufacturerId").attribute("Value");
    if (!manufacturer) {
        return make_error_code(Error::MissingManufacturerId);
    }
    const auto model = description.child("ModelId").attribute("Value");
    if (!model) {
        return make_error_code(Error::MissingModelId);
    }
    const auto version = versionOf(description, "Version");
    if (!version) {
        return make_error_code(Error::MissingVersion);
    }
    const auto systemVersion = versionOf(description, "SystemVersion");
    if (!systemVersion) {
        return make_error_code(Error::MissingSystemVersion);
    }
    const auto applicationVersion = versionOf(description, "ApplicationVersion");
    if (!applicationVersion) {
        return make_error_code(Error::MissingApplicationVersion);
    }

    FirmwareDescription result;
    result.version = *version;
    result.systemVersion = *systemVersion;
    result.applicationVersion = *applicationVersion;
    if (auto type = DeviceType::parse(manufacturer.value(), model.value(), std::nullopt)) {
        result.deviceType = *std::move(type);
    }
    result.supportedHwRevs = supportedHwRevsOf(description);
    for (const pugi::xml_node entry : description.child("Files").children()) {
        if (auto file = parseFile(entry)) {
            result.totalLength += file->length;
            result.files.push_back(*std::move(file));
        }
    }
    return result;
}

}  // namespace Norv::Corvane::Common
