#include "Device.h"

#include <algorithm>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "HostError.h"

using Norv::Corvane::Common::FirmwareDescription;
using Norv::Ombrel::Project::DeviceType;
using Norv::Ombrel::Project::Version;

namespace {

constexpr char modelKey[] = "model";
constexpr char revisionKey[] = "hardware-revision";
constexpr char versionKey[] = "installed-version";

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text.empty() ? "none" : text;
}

boost::property_tree::ptree readKeys(const std::string& path) {
    std::ifstream stream(path);
    if (!stream) {
        throw HostError("cannot read " + path + ": " + std::generic_category().message(errno));
    }
    boost::property_tree::ptree keys;
    try {
        boost::property_tree::read_ini(stream, keys);
    } catch (const boost::property_tree::ini_parser_error& error) {
        throw HostError(path + ", line " + std::to_string(error.line()) + ": " + error.message());
    }
    if (stream.bad()) {
        throw HostError("cannot read " + path);
    }
    for (const auto& [key, value] : keys) {
        if (key != modelKey && key != revisionKey && key != versionKey) {
            throw HostError(path + " has an unknown key: " + key);
        }
    }
    return keys;
}

}  // namespace

DeviceType::Type parseModel(const std::string& text) {
    const auto type = DeviceType::parse(text, std::nullopt);
    if (!type) {
        throw HostError("not a known model: " + text);
    }
    return type->type;
}

Version parseVersion(const std::string& text) {
    const auto version = Version::parse(text);
    // The library ignores what follows the fourth number.
    if (!version || to_string(*version) != text) {
        throw HostError("not a version of four numbers such as 1.2.3.4: " + text);
    }
    return *version;
}

Device readDevice(const std::string& path) {
    const boost::property_tree::ptree keys = readKeys(path);
    const auto valueOf = [&](const char* key) {
        const auto value = keys.get_optional<std::string>(key);
        if (!value || value->empty()) {
            throw HostError(path + " does not say " + key);
        }
        return *value;
    };
    const std::string model = valueOf(modelKey);
    const std::string revision = valueOf(revisionKey);
    const std::string version = valueOf(versionKey);
    try {
        return {parseModel(model), revision, parseVersion(version)};
    } catch (const HostError& error) {
        throw HostError(path + ": " + error.what());
    }
}

void requireMeantFor(const Device& device, bool allowDowngrade, const std::string& package,
                     const FirmwareDescription& description) {
    if (device.model && description.deviceType.type != *device.model) {
        const std::string model(to_string(description.deviceType.type));
        throw HostError(package + " is for " + (model.empty() ? "an unknown model" : model) +
                        ", this device is a " + std::string(to_string(*device.model)));
    }
    const std::vector<std::string>& revisions = description.supportedHwRevs;
    if (device.hardwareRevision && std::find(revisions.begin(), revisions.end(),
                                             *device.hardwareRevision) == revisions.end()) {
        throw HostError(package + " does not support hardware revision " +
                        *device.hardwareRevision + ", only: " + listed(revisions));
    }
    if (device.installedVersion && !allowDowngrade &&
        description.version < *device.installedVersion) {
        throw HostError(package + " brings version " + to_string(description.version) +
                        ", older than " + to_string(*device.installedVersion) +
                        ", which is installed; --allow-downgrade installs it");
    }
}
