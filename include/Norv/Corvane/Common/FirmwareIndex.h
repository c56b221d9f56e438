// The firmware index: a small JSON file in which a device records the firmware images it knows.
//
//   FirmwareIndex::Save(path, {{{"rootfs.img", Type::QA01RTVN, {4, 2, 1, 7}, {"A1"}, "0c2f..."}}});
//   if (const auto index = FirmwareIndex::Load(path)) {
//       for (const auto& firmware : index->firmwares) { ... }
//   }
//
// The file is shared between processes under an advisory lock (a POSIX record lock over the whole
// file): writers exclude each other and readers, and everyone waits without a time limit. A save
// empties the file before it has the lock, so a load that runs at that moment finds a truncated
// document and throws. Trying again helps, unless the saving process was killed: it leaves the file
// as it is until the next save. A load never returns anything but a complete document that one save
// wrote. Each call locks for itself: of two processes that load, change and save, one can undo the
// other's change.
//
// The functions keep no state and may be called from any thread. Record locks belong to the
// process, though: they do not exclude its own threads, and closing any descriptor of the file
// drops them. Within one process, serialise the calls for one path and leave the file alone.
//
// Failures are exceptions; nothing here logs.

#pragma once

#include <boost/json/value_from.hpp>
#include <boost/json/value_to.hpp>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Norv/Export.h"
#include "Norv/Ombrel/Project/DeviceType.h"
#include "Norv/Ombrel/Project/Version.h"

namespace Norv::Corvane::Common::FirmwareIndex {

struct Firmwares {
    // All texts are UTF-8 and stored as they are.
    struct Firmware {
        std::string filename;
        // The qualifier is not stored.
        Ombrel::Project::DeviceType type = Ombrel::Project::DeviceType::Type::None;
        Ombrel::Project::Version version;
        std::vector<std::string> supportedHwRevs;
        // Hexadecimal, in lower case by convention; never checked.
        std::string sha256;

        friend bool operator==(const Firmware& a, const Firmware& b) {
            return a.filename == b.filename && a.type == b.type && a.version == b.version &&
                   a.supportedHwRevs == b.supportedHwRevs && a.sha256 == b.sha256;
        }
        friend bool operator!=(const Firmware& a, const Firmware& b) { return !(a == b); }
    };

    // In the order of the file.
    std::vector<Firmware> firmwares;

    friend bool operator==(const Firmwares& a, const Firmwares& b) {
        return a.firmwares == b.firmwares;
    }
    friend bool operator!=(const Firmwares& a, const Firmwares& b) { return !(a == b); }
};

// Replaces the content of the file at `path`, or creates it. Throws
// `boost::interprocess::interprocess_exception` when the file cannot be opened for reading and
// writing or cannot be locked. Does not notice a failed write, as on a full disk.
NORV_EXPORT void Save(const std::filesystem::path& path, const Firmwares& firmwares);

// Empty if there is no regular file at `path`. Otherwise throws
//   `std::filesystem::filesystem_error` when the path cannot be examined,
//   `boost::interprocess::interprocess_exception` as above: a load needs write permission too,
//   `boost::system::system_error` when the file cannot be read, is no strict JSON (a truncated
//   document, for one), or holds an array or a text where there should be none and vice versa,
//   `std::invalid_argument` when a record is not an object,
//   `std::out_of_range` when a record lacks a member.
// The order of members does not matter and unknown ones are ignored. A version that cannot be
// parsed reads as 0.0.0.0, an unknown device type as `Type::None`.
NORV_EXPORT std::optional<Firmwares> Load(const std::filesystem::path& path);

// For `boost::json::value_from` and `boost::json::value_to`, which throw as `Load` does.
NORV_EXPORT void tag_invoke(const boost::json::value_from_tag&, boost::json::value& json,
                            const Firmwares::Firmware& firmware);
NORV_EXPORT Firmwares::Firmware tag_invoke(const boost::json::value_to_tag<Firmwares::Firmware>&,
                                           const boost::json::value& json);
NORV_EXPORT void tag_invoke(const boost::json::value_from_tag&, boost::json::value& json,
                            const Firmwares& firmwares);
NORV_EXPORT Firmwares tag_invoke(const boost::json::value_to_tag<Firmwares>&,
                                 const boost::json::value& json);

}  // namespace Norv::Corvane::Common::FirmwareIndex
