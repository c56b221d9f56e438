#include "Norv/Corvane/Common/FirmwareIndex.h"

#include <sys/stat.h>

#include <boost/interprocess/sync/file_lock.hpp>
#include <boost/interprocess/sync/scoped_lock.hpp>
#include <boost/interprocess/sync/sharable_lock.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "ManufacturerPrefix.h"

namespace Norv::Corvane::Common::FirmwareIndex {
namespace {

namespace ipc = boost::interprocess;
namespace json = boost::json;

using Ombrel::Project::DeviceType;
using Ombrel::Project::Version;

// Both exceptions are part of the interface, and Boost's own differ from release to release.
const json::value& member(const json::value& record, std::string_view key) {
    const json::object* const object = record.if_object();
    if (!object) {
        throw std::invalid_argument("not an object");
    }
    const json::value* const value = object->if_contains(key);
    if (!value) {
        throw std::out_of_range("missing member: " + std::string(key));
    }
    return *value;
}

// Which file the path leads to at the moment; none if it leads nowhere.
std::optional<std::pair<dev_t, ino_t>> fileAt(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return std::make_pair(status.st_dev, status.st_ino);
}

// Null if the file cannot be opened.
json::value readDocument(const std::filesystem::path& path) {
    // Closing any descriptor of the file drops the process's locks on it. The stream comes first
    // so that it is closed last.
    std::ifstream stream(path);
    if (!stream.is_open()) {
        return nullptr;
    }
    ipc::file_lock lock(path.c_str());
    ipc::sharable_lock<ipc::file_lock> guard(lock);
    json::value document = json::parse(stream);
    // Unlike the destructor, this reports a failure.
    guard.unlock();
    return document;
}

}  // namespace

void Save(const std::filesystem::path& path, const Firmwares& firmwares) {
    // Closed after the lock; see readDocument().
    std::ofstream stream(path);
    const auto opened = fileAt(path);
    ipc::file_lock lock(path.c_str());
    ipc::scoped_lock<ipc::file_lock> guard(lock);
    // While this process waited for the lock, others may have written the file that it emptied
    // when it opened the stream. Their text would outlive a shorter document, or this process if
    // it is killed half way, and could complete what is written here to a valid mixture. Should
    // the path be gone by now, so is everyone who could read the mixture; should it lead to another
    // file, that one was neither opened nor locked here.
    if (stream.is_open() && fileAt(path) == opened) {
        std::error_code gone;
        std::filesystem::resize_file(path, 0, gone);
    }
    stream << json::value_from(firmwares) << std::flush;
    guard.unlock();
}

std::optional<Firmwares> Load(const std::filesystem::path& path) {
    if (!std::filesystem::is_regular_file(path)) {
        return std::nullopt;
    }
    return json::value_to<Firmwares>(readDocument(path));
}

void tag_invoke(const json::value_from_tag&, json::value& json,
                const Firmwares::Firmware& firmware) {
    json::object& object = json.emplace_object();
    object.reserve(5);
    object.emplace("filename", firmware.filename);
    object.emplace("type", withManufacturerPrefix(to_string(firmware.type.type)));
    object.emplace("version", to_string(firmware.version));
    json::array& revisions = object["supportedHwRevs"].emplace_array();
    revisions.reserve(firmware.supportedHwRevs.size());
    for (const std::string& revision : firmware.supportedHwRevs) {
        revisions.emplace_back(revision);
    }
    object.emplace("sha256", firmware.sha256);
}

Firmwares::Firmware tag_invoke(const json::value_to_tag<Firmwares::Firmware>&,
                               const json::value& json) {
    Firmwares::Firmware firmware;
    firmware.filename = json::value_to<std::string>(member(json, "filename"));
    const auto type = json::value_to<std::string>(member(json, "type"));
    firmware.type = DeviceType::parse(type, std::nullopt).value_or(DeviceType::Type::None);
    const auto version = json::value_to<std::string>(member(json, "version"));
    firmware.version = Version::parse(version).value_or(Version{});
    firmware.supportedHwRevs =
        json::value_to<std::vector<std::string>>(member(json, "supportedHwRevs"));
    firmware.sha256 = json::value_to<std::string>(member(json, "sha256"));
    return firmware;
}

void tag_invoke(const json::value_from_tag&, json::value& json, const Firmwares& firmwares) {
    json::array& array = json.emplace_array();
    array.reserve(firmwares.firmwares.size());
    for (const Firmwares::Firmware& firmware : firmwares.firmwares) {
        array.push_back(json::value_from(firmware, array.storage()));
    }
}

Firmwares tag_invoke(const json::value_to_tag<Firmwares>&, const json::value& json) {
    return {json::value_to<std::vector<Firmwares::Firmware>>(json)};
}

}  // namespace Norv::Corvane::Common::FirmwareIndex
