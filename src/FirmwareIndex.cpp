#include "Norv/Corvane/Common/FirmwareIndex.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/interprocess/sync/file_lock.hpp>
#include <boost/interprocess/sync/scoped_lock.hpp>
#include <boost/interprocess/sync/sharable_lock.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serializer.hpp>
#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string_view>

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

// A file opened for writing, which creates or empties it. Does not report that it could not be
// opened or that a write failed: a save notices neither.
class OutputFile {
public:
    explicit OutputFile(const std::filesystem::path& path)
        : descriptor_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {}
    ~OutputFile() {
        if (descriptor_ != -1) {
            ::close(descriptor_);
        }
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Whether the path leads to this very file right now.
    bool isAt(const std::filesystem::path& path) const {
        struct stat own {};
        struct stat other {};
        return ::fstat(descriptor_, &own) == 0 && ::stat(path.c_str(), &other) == 0 &&
               own.st_dev == other.st_dev && own.st_ino == other.st_ino;
    }

    // False for what has no length, such as a device.
    bool empty() { return ::ftruncate(descriptor_, 0) == 0; }

    void write(const json::value& document) {
        json::serializer serializer;
        serializer.reset(&document);
        std::array<char, 8192> buffer{};
        for (bool good = true; good && !serializer.done();) {
            const auto text = serializer.read(buffer.data(), buffer.size());
            good = put({text.data(), text.size()});
        }
    }

private:
    bool put(std::string_view text) {
        while (!text.empty()) {
            const ssize_t count = ::write(descriptor_, text.data(), text.size());
            if (count == -1 && errno != EINTR) {
                return false;
            }
            text.remove_prefix(count == -1 ? 0 : static_cast<std::size_t>(count));
        }
        return true;
    }

    int descriptor_;
};

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
    OutputFile file(path);
    ipc::file_lock lock(path.c_str());
    ipc::scoped_lock<ipc::file_lock> guard(lock);
    // Opening the file emptied it, but others may have written it while this process waited for the
    // lock. Their text would outlive a shorter document, or this process if it is killed half way,
    // and could complete what is written here to a valid mixture. If the path is gone by now,
    // nobody can read the mixture any more. If it leads to another file, the lock may be that
    // one's.
    if (file.isAt(path)) {
        file.empty();
    }
    file.write(json::value_from(firmwares));
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
    // What as_array() throws differs between releases of Boost.
    const json::array* const array = json.if_array();
    if (array == nullptr) {
        throw boost::system::system_error(make_error_code(json::error::not_array));
    }
    // One by one: in later releases than 1.83, Boost's conversion to a vector replaces what
    // member() throws.
    Firmwares firmwares;
    firmwares.firmwares.reserve(array->size());
    for (const json::value& record : *array) {
        firmwares.firmwares.push_back(json::value_to<Firmwares::Firmware>(record));
    }
    return firmwares;
}

}  // namespace Norv::Corvane::Common::FirmwareIndex
