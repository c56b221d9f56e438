// A package's manifest as a device reads it, whoever signed it.

#pragma once

#include <optional>
#include <string>

#include "Norv/Corvane/Common/FirmwarePackage.h"

namespace Norv::Corvane::Pack {

struct ReadPackage {
    Common::FirmwarePackage package;
    // The manifest as it stands; empty when there is none.
    std::string text;
    // None when a device would not get that far, and why.
    std::optional<Common::FirmwareDescription> description;
    std::string error;
};

// Throws `PackError` when the file is no zip archive or cannot be read.
ReadPackage readPackage(const std::string& path);

}  // namespace Norv::Corvane::Pack
