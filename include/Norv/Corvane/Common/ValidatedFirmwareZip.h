// A firmware package whose manifest was found to be signed by the trusted key.
//
// Made by `IFirmwareZipValidator::ValidateFirmwareZipFile` and moved into `IInstaller::Install`.
// Owns the open archive, and closes it when destroyed.

#pragma once

#include "Norv/Corvane/Common/FirmwareDescription.h"
#include "Norv/Corvane/Common/FirmwarePackage.h"

namespace Norv::Corvane::Common {

struct ValidatedFirmwareZip {
    FirmwareDescription description;
    // Still open: the archive that `description` was read from and the payload is read from.
    FirmwarePackage package;
};

}  // namespace Norv::Corvane::Common
