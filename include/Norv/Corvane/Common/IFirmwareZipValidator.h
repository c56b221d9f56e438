// Turns the path of a firmware package into an installable object.
//
// An interface so that a host can test its own code without signed packages.

#pragma once

#include <boost/filesystem/path.hpp>
#include <boost/optional.hpp>

#include "Norv/Corvane/Common/ValidatedFirmwareZip.h"
#include "Norv/Export.h"

namespace Norv::Corvane::Common {

class NORV_EXPORT IFirmwareZipValidator {
public:
    virtual ~IFirmwareZipValidator() = default;

    // Empty when the package must not be installed; the log says why.
    virtual boost::optional<ValidatedFirmwareZip> ValidateFirmwareZipFile(
        const boost::filesystem::path& path) = 0;
};

}  // namespace Norv::Corvane::Common
