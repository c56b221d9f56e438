// Adds a firmware image to the index, then lists the whole index.

#include <Norv/Corvane/Common/FirmwareIndex.h>

#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <utility>

#include "Printable.h"

using namespace Norv::Corvane::Common;
using Norv::Ombrel::Project::DeviceType;

int main(int argc, char** argv) try {
    if (argc != 2) {
        fmt::print(stderr, "usage: {} INDEX_FILE\n", argv[0]);
        return 2;
    }
    FirmwareIndex::Firmwares index;
    if (auto saved = FirmwareIndex::Load(argv[1])) {  // empty: there is no file yet
        index = *std::move(saved);
    }
    index.firmwares.push_back({"rootfs-4.2.1.img",
                               DeviceType::Type::QA01RTVN,
                               {4, 2, 1, 7},
                               {"A1", "B3"},
                               "0c2f8e5a3b7d9146e8a1f0c4d6b2e9a7"
                               "530f1c8d4b6a2e9f7d3c1b5a0e8f6d24"});
    FirmwareIndex::Save(argv[1], index);

    for (const auto& firmware : index.firmwares) {
        // Somebody else may have written the file.
        fmt::print("{} is version {} for {}\n", printable(firmware.filename),
                   to_string(firmware.version), to_string(firmware.type.type));
    }
    return 0;
} catch (const std::exception& error) {  // no permission, or no complete document: try again later
    fmt::print(stderr, "{}\n", printable(error.what()));
    return 1;
}
